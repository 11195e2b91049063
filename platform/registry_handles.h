// Open registry keys: which key a HKEY stands for. It stands for a name: a key that was deleted and made anew is the same.
#pragma once

#include <windows.h>

#include <map>
#include <mutex>

#include "platform/registry_tree.h"

namespace platform {

// A key that a call is about, by its place.
struct KeyPlace {
    size_t root = 0;
    RegistryPath path;

    RegistryKey* Find(RegistryTree& tree) const { return tree.Find(root, path); }
};

class OpenKeys {
public:
    static OpenKeys& Instance();

    // The key at `path` below the handle's. ERROR_INVALID_HANDLE, or ERROR_INVALID_PARAMETER for a path that no key can
    // have.
    LONG Resolve(HKEY handle, std::u16string_view path, KeyPlace& place);
    HKEY Add(const KeyPlace& place);
    LONG Close(HKEY handle);

private:
    std::mutex lock_;
    std::map<HKEY, KeyPlace> keys_;
    ULONG_PTR last_ = 0;
};

}  // namespace platform
