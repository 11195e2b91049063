// Open registry keys: what a HKEY stands for, with the rights it was opened with.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <mutex>

#include "platform/registry_tree.h"

namespace platform {

struct OpenKey {
    size_t root = 0;
    RegistryPath path;
    REGSAM rights = 0;
    bool deleted = false;  // in this process; another one's deletion shows when the path is not found
};

// What a call is about: a key at or below the one that its handle stands for.
struct KeyTarget {
    size_t root = 0;
    RegistryPath path;
    size_t depth = 0;  // the handle's own part of the path
    REGSAM rights = 0;

    RegistryKey* HandleKey(RegistryTree& tree) const { return tree.Find(root, RegistryPathView(path).first(depth)); }
    // ERROR_KEY_DELETED when the handle's key is gone, ERROR_FILE_NOT_FOUND when there is no such key below it.
    LONG Find(RegistryTree& tree, RegistryKey*& key) const;
};

class OpenKeys {
public:
    static OpenKeys& Instance();

    // The key at `path` below the handle's. ERROR_INVALID_HANDLE, ERROR_KEY_DELETED, ERROR_INVALID_PARAMETER for a path that
    // no key can have, or ERROR_ACCESS_DENIED when the handle lacks one of the `needed` rights.
    LONG Resolve(HKEY handle, REGSAM needed, std::u16string_view path, KeyTarget& target);
    HKEY Add(const KeyTarget& target, REGSAM wanted);
    LONG Close(HKEY handle);
    // Handles on the key and below it answer ERROR_KEY_DELETED from now on, even if the key is created anew.
    void MarkDeleted(size_t root, RegistryPathView path);

private:
    std::mutex lock_;
    std::map<HKEY, std::unique_ptr<OpenKey>> keys_;
};

}  // namespace platform
