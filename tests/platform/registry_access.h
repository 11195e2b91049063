// The registry in narrow text, for tests: keys and values without the ceremony of the calls.
#pragma once

#include <windows.h>

#include <string>

namespace probe {

using Text = std::basic_string<OLECHAR>;

inline Text Wide(const std::string& text) { return {text.begin(), text.end()}; }

inline std::string Narrow(const OLECHAR* text, size_t size) {
    std::string narrow;
    for (size_t i = 0; i < size; ++i) narrow += text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
    return narrow;
}
inline std::string Narrow(const Text& text) { return Narrow(text.data(), text.size()); }

// Without `opened` the key is closed again.
inline LONG CreateKey(HKEY parent, const std::string& name, HKEY* opened = nullptr, DWORD* disposition = nullptr) {
    HKEY key = nullptr;
    const LONG code = RegCreateKeyExW(parent, Wide(name).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                      opened ? opened : &key, disposition);
    if (key) RegCloseKey(key);
    return code;
}

inline LONG OpenKey(HKEY parent, const std::string& name, HKEY* opened = nullptr, REGSAM rights = KEY_READ) {
    HKEY key = nullptr;
    const LONG code = RegOpenKeyExW(parent, Wide(name).c_str(), 0, rights, opened ? opened : &key);
    if (key) RegCloseKey(key);
    return code;
}

inline LONG DeleteTree(HKEY parent, const std::string& name) { return RegDeleteTreeW(parent, Wide(name).c_str()); }

// `data` are the bytes as they are kept.
inline LONG SetValue(HKEY key, const std::string& name, DWORD type, const std::string& data) {
    return RegSetValueExW(key, Wide(name).c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
}

// The bytes of a text with its terminator.
inline std::string Bytes(const std::string& text) {
    const Text wide = Wide(text);
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
    const LONG code = RegQueryValueExW(key, Wide(name).c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return code == ERROR_SUCCESS ? Narrow(Text(text)) : "no value";
}

inline std::string InBraces(REFGUID guid) {
    OLECHAR text[39];
    return Narrow(text, static_cast<size_t>(StringFromGUID2(guid, text, 39)) - 1);
}

}  // namespace probe
