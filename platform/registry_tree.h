// The registry in memory: a tree of keys for each predefined handle. Names keep their case and are found without it.
// Knows nothing of files, handles or text.
#pragma once

#include <windows.h>

#include <array>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// What a name and a tree may be, as in the real registry; the text form relies on it.
inline constexpr size_t kMaxKeyName = 255;
inline constexpr size_t kMaxKeyDepth = 512;

// A string, or a value of another type, which nothing here reads or makes: it is kept as the file has it.
struct RegistryValue {
    std::u16string name;  // empty: the default value
    std::u16string text;
    std::string foreign;  // what follows the equals sign, over all its lines; empty for a string
};

struct RegistryKey {
    std::u16string name;
    std::map<std::u16string, std::unique_ptr<RegistryKey>> keys;  // by folded name, which is also their order
    std::vector<RegistryValue> values;                            // in the order in which they were first set

    RegistryValue* FindValue(std::u16string_view valueName);
    // False when it is there as it is already.
    bool Set(RegistryValue value);
};

using RegistryPath = std::vector<std::u16string>;
using RegistryPathView = std::span<const std::u16string>;

// False for a path with an empty, overlong or unprintable name in it. One trailing separator is forgiven.
[[nodiscard]] bool SplitPath(std::u16string_view text, RegistryPath& path);
// Control characters have no place in the line of a name, and half a surrogate pair none in UTF-8.
[[nodiscard]] bool IsPrintable(std::u16string_view name);

inline constexpr std::array<std::u16string_view, 4> kRootNames = {u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER",
                                                                  u"HKEY_LOCAL_MACHINE", u"HKEY_USERS"};

struct RegistryTree {
    std::array<RegistryKey, kRootNames.size()> roots;

    RegistryKey* Find(size_t root, RegistryPathView path);
    // Adds what is missing. `created` tells whether the last key is new.
    RegistryKey& Create(size_t root, RegistryPathView path, bool& created);
    // Removes the key with all below it. `path` is not empty.
    void Remove(size_t root, RegistryPathView path);
};

}  // namespace platform
