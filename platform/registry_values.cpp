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
LONG QueryValue(HKEY handle, const Char* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) noexcept {
    if (reserved || (data && !size)) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] {
        const std::u16string wanted = Argument(name);
        return ReadKey(handle, KEY_QUERY_VALUE, [&](RegistryKey& key) -> LONG {
            const RegistryValue* const value = key.FindValue(wanted);
            return value ? GiveData<Char>(*value, type, data, size) : ERROR_FILE_NOT_FOUND;
        });
    });
}

}  // namespace
}  // namespace platform

LONG WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
    return platform::RegistryCall([&] {
        const std::u16string wanted = platform::Argument(lpValueName);
        return platform::ChangeKey(hKey, [&](platform::RegistryKey& key, bool& changed) -> LONG {
            platform::RegistryValue* const value = key.FindValue(wanted);
            if (!value) return ERROR_FILE_NOT_FOUND;
            key.values.erase(key.values.begin() + (value - key.values.data()));
            changed = true;
            return ERROR_SUCCESS;
        });
    });
}

LONG WINAPI RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                          LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    if (lpReserved || !lpValueName || !lpcchValueName || (lpData && !lpcbData)) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::ReadKey(hKey, KEY_QUERY_VALUE, [&](platform::RegistryKey& key) -> LONG {
            if (dwIndex >= key.values.size()) return ERROR_NO_MORE_ITEMS;
            const platform::RegistryValue& value = key.values[dwIndex];
            const LONG code = platform::GiveName(value.name, lpValueName, lpcchValueName);
            return code == ERROR_SUCCESS ? platform::GiveData<WCHAR>(value, lpType, lpData, lpcbData) : code;
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

LONG WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, CONST BYTE* lpData, DWORD cbData) {
    if ((!lpData && cbData != 0) || cbData > platform::kMaxValueSize) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::StoreValue(hKey, {platform::Argument(lpValueName), dwType, {lpData, lpData + cbData}});
    });
}
