// A part of the registry as text, to be compared as a whole.
#pragma once

#include <map>
#include <string>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {

// Keys by path (their default value beside them), named values as "path : name". Without default value: "-".
using RegistryTree = std::map<std::string, std::string>;

inline std::string ValueText(HKEY key, const WCHAR* name) {
    WCHAR text[1024];
    DWORD size = sizeof(text), type = 0;
    if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS) return "-";
    if (type != REG_SZ || size < sizeof(WCHAR) || text[size / sizeof(WCHAR) - 1] != 0) return "(no text)";
    return Narrow({text, size / sizeof(WCHAR) - 1});
}

inline void AddTree(RegistryTree& tree, const std::string& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, Widen(path).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    tree[path] = ValueText(key, nullptr);
    WCHAR name[512];
    DWORD size = 512;
    for (DWORD i = 0; RegEnumValueW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0; ++i, size = 512) {
        if (size != 0) tree[path + " : " + Narrow({name, size})] = ValueText(key, name);
    }
    size = 512;
    for (DWORD i = 0; RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0; ++i, size = 512)
        AddTree(tree, path + "\\" + Narrow({name, size}));
    RegCloseKey(key);
}

// The key of HKEY_CLASSES_ROOT with all below it; empty when there is none.
inline RegistryTree ReadTree(const std::string& path) {
    RegistryTree tree;
    AddTree(tree, path);
    return tree;
}

inline void WriteKey(const std::string& path, const std::string& text) {
    HKEY key = nullptr;
    EXPECT_EQ(
        RegCreateKeyExW(HKEY_CLASSES_ROOT, Widen(path).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
        ERROR_SUCCESS);
    const WideText wide = Widen(text);
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.c_str()),
                   static_cast<DWORD>((wide.size() + 1) * sizeof(WCHAR)));
    RegCloseKey(key);
}

inline LONG DeleteKeys(const std::string& path) { return RegDeleteTreeW(HKEY_CLASSES_ROOT, Widen(path).c_str()); }

}  // namespace talvo::test
