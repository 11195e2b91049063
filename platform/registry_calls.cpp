// The registry calls: text in, text out, and no exception beyond the call.
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/last_error.h"
#include "platform/registry_handles.h"
#include "platform/registry_store.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

template <class Work>
LONG RegistryCall(Work work) {
    return OrOutOfMemory(work, LONG{ERROR_NOT_ENOUGH_MEMORY});
}

// Text of the ANSI code page; what cannot be converted becomes the replacement character.
std::u16string Argument(LPCSTR text) {
    if (!text || !*text) return {};
    std::u16string wide(std::strlen(text), u'\0');  // no character takes more units than bytes
    const int size = static_cast<int>(wide.size());
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, size, wide.data(), size)));
    return wide;
}
std::u16string Argument(LPCWSTR text) { return text ? std::u16string(text) : std::u16string(); }

// The bytes of a text with its terminator, as a call of this character type gives them.
template <class Char>
std::string DataOf(const std::u16string& text);

template <>
std::string DataOf<WCHAR>(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(WCHAR)};
}

template <>
std::string DataOf<CHAR>(const std::u16string& text) {
    const int size = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

// Copies a text's data. Without a buffer, or with one too small, only the size is told.
LONG GiveData(const std::string& data, BYTE* buffer, DWORD* size) {
    const size_t room = buffer ? *size : 0;
    *size = static_cast<DWORD>(data.size());
    if (!buffer) return ERROR_SUCCESS;
    if (data.size() > room) return ERROR_MORE_DATA;
    std::copy(data.begin(), data.end(), buffer);
    return ERROR_SUCCESS;
}

// Copies a name with its terminator. `count` is the room in characters, and becomes the length without terminator.
LONG GiveName(const std::u16string& name, WCHAR* buffer, DWORD* count) {
    if (name.size() >= *count) return ERROR_MORE_DATA;
    std::memcpy(buffer, name.c_str(), (name.size() + 1) * sizeof(WCHAR));
    *count = static_cast<DWORD>(name.size());
    return ERROR_SUCCESS;
}

// Runs `work` on the key at `path` below the handle's, as it is now.
template <class Work>
LONG ReadKey(HKEY handle, std::u16string_view path, Work work) {
    KeyPlace place;
    if (const LONG code = OpenKeys::Instance().Resolve(handle, path, place); code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Read([&](RegistryTree& tree) -> LONG {
        RegistryKey* const key = place.Find(tree);
        return key ? work(*key, place) : ERROR_FILE_NOT_FOUND;
    });
}

// The same for a `work` that says whether it has changed the key.
template <class Work>
LONG ChangeKey(HKEY handle, Work work) {
    KeyPlace place;
    if (const LONG code = OpenKeys::Instance().Resolve(handle, {}, place); code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        RegistryKey* const key = place.Find(tree);
        return key ? work(*key, changed) : ERROR_FILE_NOT_FOUND;
    });
}

template <class Char>
LONG Open(HKEY parent, const Char* name, DWORD options, HKEY* result) {
    if (options != 0 || !result) return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    return RegistryCall([&] {
        return ReadKey(parent, Argument(name), [&](const RegistryKey&, const KeyPlace& place) -> LONG {
            *result = OpenKeys::Instance().Add(place);
            return ERROR_SUCCESS;
        });
    });
}

LONG Create(HKEY parent, std::u16string_view name, HKEY* result, DWORD* disposition) {
    *result = nullptr;
    KeyPlace place;
    LONG code = OpenKeys::Instance().Resolve(parent, name, place);
    if (code != ERROR_SUCCESS) return code;
    bool created = false;
    code = RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        if (place.Find(tree)) return ERROR_SUCCESS;
        tree.Create(place.root, place.path, created);
        changed = true;
        return ERROR_SUCCESS;
    });
    if (code != ERROR_SUCCESS) return code;
    *result = OpenKeys::Instance().Add(place);
    if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

LONG Remove(HKEY parent, std::u16string_view name, bool withSubkeys) {
    KeyPlace place;
    if (const LONG code = OpenKeys::Instance().Resolve(parent, name, place); code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        const RegistryKey* const key = place.Find(tree);
        if (!key) return ERROR_FILE_NOT_FOUND;
        if (place.path.empty() || (!withSubkeys && !key->keys.empty())) return ERROR_ACCESS_DENIED;
        tree.Remove(place.root, place.path);
        changed = true;
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG QueryValue(HKEY handle, const Char* name, const DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) {
    if (reserved || (data && !size)) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] {
        const std::u16string wanted = Argument(name);
        return ReadKey(handle, {}, [&](RegistryKey& key, const KeyPlace&) -> LONG {
            const RegistryValue* const value = key.FindValue(wanted);
            if (!value) return ERROR_FILE_NOT_FOUND;
            if (!value->foreign.empty()) return ERROR_UNSUPPORTED_TYPE;
            if (type) *type = REG_SZ;
            return size ? GiveData(DataOf<Char>(value->text), data, size) : ERROR_SUCCESS;
        });
    });
}

}  // namespace
}  // namespace platform

LONG WINAPI RegCloseKey(HKEY hKey) { return platform::OpenKeys::Instance().Close(hKey); }

LONG WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR, DWORD dwOptions, REGSAM,
                            LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
    if (Reserved != 0 || dwOptions != 0 || !phkResult) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall(
        [&] { return platform::Create(hKey, platform::Argument(lpSubKey), phkResult, lpdwDisposition); });
}

LONG WINAPI RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD ulOptions, REGSAM, PHKEY phkResult) {
    return platform::Open(hKey, lpSubKey, ulOptions, phkResult);
}

LONG WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM, PHKEY phkResult) {
    return platform::Open(hKey, lpSubKey, ulOptions, phkResult);
}

LONG WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) {
    if (!lpSubKey) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] { return platform::Remove(hKey, lpSubKey, false); });
}

// Without a name the real call empties the handle's own key, which no caller wants here.
LONG WINAPI RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) {
    if (!lpSubKey || !*lpSubKey) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] { return platform::Remove(hKey, lpSubKey, true); });
}

// Keys have no class here, and the time of their last change is not told.
LONG WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                          LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (!lpName || !lpcchName || lpReserved || lpClass || lpcchClass || lpftLastWriteTime)
        return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::ReadKey(hKey, {}, [&](const platform::RegistryKey& key, const platform::KeyPlace&) -> LONG {
            if (dwIndex >= key.keys.size()) return ERROR_NO_MORE_ITEMS;
            return platform::GiveName(std::next(key.keys.begin(), dwIndex)->second->name, lpName, lpcchName);
        });
    });
}

// Names only: the data is asked for by name.
LONG WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                          LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    if (!lpValueName || !lpcchValueName || lpReserved || lpType || lpData || lpcbData) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::ReadKey(hKey, {}, [&](const platform::RegistryKey& key, const platform::KeyPlace&) -> LONG {
            if (dwIndex >= key.values.size()) return ERROR_NO_MORE_ITEMS;
            return platform::GiveName(key.values[dwIndex].name, lpValueName, lpcchValueName);
        });
    });
}

LONG WINAPI RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                             LPDWORD lpcbData) {
    return platform::QueryValue(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                             LPDWORD lpcbData) {
    return platform::QueryValue(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData);
}

// Strings only, and only such as a text file can hold: one terminator, which is the last character, and no half of a pair.
LONG WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, CONST BYTE* lpData, DWORD cbData) {
    if (dwType != REG_SZ || !lpData || cbData < sizeof(WCHAR) || cbData % sizeof(WCHAR) != 0)
        return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&]() -> LONG {
        platform::RegistryValue value = {platform::Argument(lpValueName), {}, {}};
        value.text.resize(cbData / sizeof(WCHAR));
        std::memcpy(value.text.data(), lpData, cbData);
        std::string narrow;
        if (!platform::IsPrintable(value.name) || value.text.find(u'\0') != value.text.size() - 1 ||
            !platform::Narrow(value.text, narrow))
            return ERROR_INVALID_PARAMETER;
        value.text.pop_back();
        return platform::ChangeKey(hKey, [&](platform::RegistryKey& key, bool& changed) -> LONG {
            changed = key.Set(std::move(value));
            return ERROR_SUCCESS;
        });
    });
}

LONG WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
    return platform::RegistryCall([&] {
        const std::u16string wanted = platform::Argument(lpValueName);
        return platform::ChangeKey(hKey, [&](platform::RegistryKey& key, bool& changed) -> LONG {
            const platform::RegistryValue* const value = key.FindValue(wanted);
            if (!value) return ERROR_FILE_NOT_FOUND;
            key.values.erase(key.values.begin() + (value - key.values.data()));
            changed = true;
            return ERROR_SUCCESS;
        });
    });
}
