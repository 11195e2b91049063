// The registry in narrow text: keys and values without the ceremony of the calls, and a part of it as a whole.
#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "tests/support/text.h"

namespace talvo::test {

// Without `opened` the key is closed again.
inline LONG CreateKey(HKEY parent, const std::string& name, HKEY* opened = nullptr) {
    HKEY key = nullptr;
    const LONG code = RegCreateKeyExW(parent, Widen(name).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                      opened ? opened : &key, nullptr);
    if (key) RegCloseKey(key);
    return code;
}

inline LONG OpenKey(HKEY parent, const std::string& name, HKEY* opened = nullptr, REGSAM rights = KEY_READ) {
    HKEY key = nullptr;
    const LONG code = RegOpenKeyExW(parent, Widen(name).c_str(), 0, rights, opened ? opened : &key);
    if (key) RegCloseKey(key);
    return code;
}

inline LONG DeleteTree(HKEY parent, const std::string& name) { return RegDeleteTreeW(parent, Widen(name).c_str()); }

// `data` are the bytes as they are kept.
inline LONG SetValue(HKEY key, const std::string& name, DWORD type, const std::string& data) {
    return RegSetValueExW(key, Widen(name).c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
}

// The bytes of a text with its terminator.
inline std::string Bytes(const std::string& text) {
    const WideText wide = Widen(text);
    return {reinterpret_cast<const char*>(wide.c_str()), (wide.size() + 1) * sizeof(OLECHAR)};
}

// Texts below HKEY_CLASSES_ROOT.
inline void SetText(const std::string& path, const std::string& text, const std::string& name = "") {
    HKEY key = nullptr;
    if (CreateKey(HKEY_CLASSES_ROOT, path, &key) != ERROR_SUCCESS) return;
    SetValue(key, name, REG_SZ, Bytes(text));
    RegCloseKey(key);
}

inline std::string GetText(const std::string& path, const std::string& name = "") {
    HKEY key = nullptr;
    OLECHAR text[512] = {};
    DWORD size = sizeof text - sizeof(OLECHAR);
    if (OpenKey(HKEY_CLASSES_ROOT, path, &key) != ERROR_SUCCESS) return "no key";
    const LONG code =
        RegQueryValueExW(key, Widen(name).c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return code == ERROR_SUCCESS ? Narrow(WideText(text)) : "no value";
}

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

}  // namespace talvo::test
