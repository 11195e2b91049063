// The registry calls about values, and the conversions that narrow calls need.
#include "platform/registry_calls.h"
#include "platform/registry_handles.h"
#include "platform/registry_store.h"
#include "platform/wide_text.h"

namespace platform {

std::u16string WideOf(std::string_view text) {
    const int size = static_cast<int>(text.size());
    if (size == 0) return {};
    std::u16string wide(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0)), u'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string NarrowOf(std::u16string_view text) {
    const int size = static_cast<int>(text.size());
    if (size == 0) return {};
    const int room = WideCharToMultiByte(CP_ACP, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(room), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.data(), size, narrow.data(), room, nullptr, nullptr);
    return narrow;
}

template <>
std::vector<BYTE> DataOut<WCHAR>(const RegistryValue& value) {
    return value.data;
}

template <>
std::vector<BYTE> DataOut<CHAR>(const RegistryValue& value) {
    if (!value.IsText()) return value.data;
    std::u16string text(value.data.size() / sizeof(WCHAR), u'\0');
    if (!text.empty()) std::memcpy(text.data(), value.data.data(), text.size() * sizeof(WCHAR));
    const std::string narrow = NarrowOf(text);
    return {narrow.begin(), narrow.end()};
}

template <>
std::vector<BYTE> DataIn<WCHAR>(DWORD, const BYTE* data, DWORD size) {
    return size == 0 ? std::vector<BYTE>() : std::vector<BYTE>(data, data + size);
}

template <>
std::vector<BYTE> DataIn<CHAR>(DWORD type, const BYTE* data, DWORD size) {
    RegistryValue value;
    value.type = type;
    if (!value.IsText()) return DataIn<WCHAR>(type, data, size);
    const std::u16string text = WideOf({reinterpret_cast<const char*>(data), size});
    const auto* const bytes = reinterpret_cast<const BYTE*>(text.data());
    return {bytes, bytes + text.size() * sizeof(WCHAR)};
}

namespace {

template <class Work>
LONG ChangeKey(HKEY handle, Work work) {
    KeyTarget target;
    const LONG code = OpenKeys::Instance().Resolve(handle, KEY_SET_VALUE, {}, target);
    if (code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        RegistryKey* key = nullptr;
        const LONG found = target.Find(tree, key);
        return found == ERROR_SUCCESS ? work(*key, changed) : found;
    });
}

template <class Work>
LONG ReadKey(HKEY handle, Work work) {
    KeyTarget target;
    const LONG code = OpenKeys::Instance().Resolve(handle, KEY_QUERY_VALUE, {}, target);
    if (code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Read([&](RegistryTree& tree) -> LONG {
        RegistryKey* key = nullptr;
        const LONG found = target.Find(tree, key);
        return found == ERROR_SUCCESS ? work(*key) : found;
    });
}

LONG StoreValue(HKEY handle, RegistryValue value) {
    if (!IsValueName(value.name)) return ERROR_INVALID_PARAMETER;
    return ChangeKey(handle, [&](RegistryKey& key, bool& changed) -> LONG {
        RegistryValue* const present = key.FindValue(value.name);
        if (!present) {
            key.values.push_back(std::move(value));
        } else if (present->type == value.type && present->data == value.data) {
            return ERROR_SUCCESS;
        } else {
            present->type = value.type;
            present->data = std::move(value.data);
        }
        changed = true;
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG SetValue(HKEY handle, const Char* name, DWORD type, const BYTE* data, DWORD size) noexcept {
    if ((!data && size != 0) || size > kMaxValueSize) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] { return StoreValue(handle, {Argument(name), type, DataIn<Char>(type, data, size)}); });
}

template <class Char>
LONG QueryValue(HKEY handle, const Char* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) noexcept {
    if (reserved || (data && !size)) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] {
        const std::u16string wanted = Argument(name);
        return ReadKey(handle, [&](RegistryKey& key) -> LONG {
            const RegistryValue* const value = key.FindValue(wanted);
            return value ? GiveData<Char>(*value, type, data, size) : ERROR_FILE_NOT_FOUND;
        });
    });
}

template <class Char>
LONG DeleteValue(HKEY handle, const Char* name) noexcept {
    return RegistryCall([&] {
        const std::u16string wanted = Argument(name);
        return ChangeKey(handle, [&](RegistryKey& key, bool& changed) -> LONG {
            RegistryValue* const value = key.FindValue(wanted);
            if (!value) return ERROR_FILE_NOT_FOUND;
            key.values.erase(key.values.begin() + (value - key.values.data()));
            changed = true;
            return ERROR_SUCCESS;
        });
    });
}

template <class Char>
LONG EnumValue(HKEY handle, DWORD index, Char* name, DWORD* count, DWORD* reserved, DWORD* type, BYTE* data,
               DWORD* size) noexcept {
    if (reserved || !name || !count || (data && !size)) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] {
        return ReadKey(handle, [&](RegistryKey& key) -> LONG {
            if (index >= key.values.size()) return ERROR_NO_MORE_ITEMS;
            if (const LONG code = GiveName(key.values[index].name, name, count); code != ERROR_SUCCESS) return code;
            return GiveData<Char>(key.values[index], type, data, size);
        });
    });
}

}  // namespace
}  // namespace platform

LONG WINAPI RegDeleteValueA(HKEY hKey, LPCSTR lpValueName) { return platform::DeleteValue(hKey, lpValueName); }

LONG WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) { return platform::DeleteValue(hKey, lpValueName); }

LONG WINAPI RegEnumValueA(HKEY hKey, DWORD dwIndex, LPSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                          LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    return platform::EnumValue(hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                          LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    return platform::EnumValue(hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG WINAPI RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                             LPDWORD lpcbData) {
    return platform::QueryValue(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                             LPDWORD lpcbData) {
    return platform::QueryValue(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG WINAPI RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD, DWORD dwType, CONST BYTE* lpData, DWORD cbData) {
    return platform::SetValue(hKey, lpValueName, dwType, lpData, cbData);
}

LONG WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, CONST BYTE* lpData, DWORD cbData) {
    return platform::SetValue(hKey, lpValueName, dwType, lpData, cbData);
}
