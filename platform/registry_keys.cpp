// The registry calls about keys: open, create, delete, enumerate.
#include "platform/registry_calls.h"
#include "platform/registry_handles.h"
#include "platform/registry_store.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

LONG OpenRegistryKey(HKEY parent, std::u16string_view name, REGSAM wanted, HKEY* result) {
    *result = nullptr;
    KeyTarget target;
    LONG code = OpenKeys::Instance().Resolve(parent, 0, name, target);
    if (code != ERROR_SUCCESS) return code;
    RegistryKey* key = nullptr;
    code = RegistryStore::Instance().Read([&](RegistryTree& tree) { return target.Find(tree, key); });
    if (code == ERROR_SUCCESS) *result = OpenKeys::Instance().Add(target, wanted);
    return code;
}

// A handle that goes again unless it is kept.
class PendingHandle {
public:
    explicit PendingHandle(HKEY handle) : handle_(handle) {}
    ~PendingHandle() {
        if (handle_) OpenKeys::Instance().Close(handle_);
    }
    PendingHandle(const PendingHandle&) = delete;
    PendingHandle& operator=(const PendingHandle&) = delete;
    HKEY Keep() { return std::exchange(handle_, nullptr); }

private:
    HKEY handle_;
};

LONG AddRegistryKey(const KeyTarget& target, bool& created) {
    return RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        if (!target.HandleKey(tree)) return ERROR_KEY_DELETED;
        if (tree.Find(target.root, target.path)) return ERROR_SUCCESS;  // another process was faster
        tree.Create(target.root, target.path, created);
        changed = true;
        return ERROR_SUCCESS;
    });
}

LONG CreateRegistryKey(HKEY parent, std::u16string_view name, REGSAM wanted, HKEY* result, DWORD* disposition) {
    *result = nullptr;
    KeyTarget target;
    LONG code = OpenKeys::Instance().Resolve(parent, 0, name, target);
    if (code != ERROR_SUCCESS) return code;
    RegistryKey* key = nullptr;
    bool created = false;
    code = RegistryStore::Instance().Read([&](RegistryTree& tree) { return target.Find(tree, key); });
    if (code == ERROR_FILE_NOT_FOUND && !(target.rights & KEY_CREATE_SUB_KEY)) return ERROR_ACCESS_DENIED;
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) return code;
    // The handle comes first: once the key is there, nothing may fail any more.
    PendingHandle handle(OpenKeys::Instance().Add(target, wanted));
    if (code == ERROR_FILE_NOT_FOUND) code = AddRegistryKey(target, created);
    if (code != ERROR_SUCCESS) return code;
    *result = handle.Keep();
    if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

LONG RemoveKey(HKEY parent, std::u16string_view name, bool withSubkeys) {
    KeyTarget target;
    LONG code = OpenKeys::Instance().Resolve(parent, 0, name, target);
    if (code != ERROR_SUCCESS) return code;
    if (target.path.empty()) return ERROR_ACCESS_DENIED;
    code = RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        RegistryKey* key = nullptr;
        if (const LONG found = target.Find(tree, key); found != ERROR_SUCCESS) return found;
        if (!withSubkeys && !key->keys.empty()) return ERROR_ACCESS_DENIED;
        changed = tree.Remove(target.root, target.path);
        return ERROR_SUCCESS;
    });
    if (code == ERROR_SUCCESS) OpenKeys::Instance().MarkDeleted(target.root, target.path);
    return code;
}

// Removes what is in the handle's own key, which stays.
LONG EmptyKey(HKEY handle) {
    KeyTarget target;
    LONG code = OpenKeys::Instance().Resolve(handle, KEY_SET_VALUE | KEY_ENUMERATE_SUB_KEYS, {}, target);
    if (code != ERROR_SUCCESS) return code;
    std::vector<RegistryPath> removed;
    code = RegistryStore::Instance().Change([&](RegistryTree& tree, bool& changed) -> LONG {
        RegistryKey* key = nullptr;
        if (const LONG found = target.Find(tree, key); found != ERROR_SUCCESS) return found;
        for (const auto& entry : key->keys) {
            removed.push_back(target.path);
            removed.back().push_back(entry.second->name);
        }
        changed = !key->keys.empty() || !key->values.empty();
        key->keys.clear();
        key->values.clear();
        return ERROR_SUCCESS;
    });
    if (code != ERROR_SUCCESS) return code;
    for (const RegistryPath& path : removed) OpenKeys::Instance().MarkDeleted(target.root, path);
    return ERROR_SUCCESS;
}

// Runs `work` on the handle's own key as it is now.
template <class Work>
LONG Inspect(HKEY handle, REGSAM needed, Work work) {
    KeyTarget target;
    LONG code = OpenKeys::Instance().Resolve(handle, needed, {}, target);
    if (code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Read([&](RegistryTree& tree) -> LONG {
        RegistryKey* key = nullptr;
        const LONG found = target.Find(tree, key);
        return found == ERROR_SUCCESS ? work(*key) : found;
    });
}

template <class Char>
LONG EnumKey(HKEY handle, DWORD index, Char* name, DWORD* count, Char* keyClass, DWORD* classCount, FILETIME* time) {
    if (!name || !count || (keyClass && !classCount)) return ERROR_INVALID_PARAMETER;
    return Inspect(handle, KEY_ENUMERATE_SUB_KEYS, [&](const RegistryKey& key) -> LONG {
        if (index >= key.keys.size()) return ERROR_NO_MORE_ITEMS;
        if (classCount) {  // keys have no class here
            if (keyClass && *classCount != 0) *keyClass = 0;
            *classCount = 0;
        }
        if (time) *time = RegistryStore::Instance().LastWriteTime();
        return GiveName(std::next(key.keys.begin(), index)->second->name, name, count);
    });
}

template <class Char>
LONG QueryInfo(HKEY handle, Char* keyClass, DWORD* classCount, DWORD* subkeys, DWORD* longestSubkey,
               DWORD* longestClass, DWORD* values, DWORD* longestName, DWORD* longestData, DWORD* descriptor,
               FILETIME* time) {
    if (keyClass && !classCount) return ERROR_INVALID_PARAMETER;
    return Inspect(handle, KEY_QUERY_VALUE, [&](const RegistryKey& key) -> LONG {
        const auto give = [](DWORD* out, size_t number) {
            if (out) *out = static_cast<DWORD>(number);
        };
        const auto length = [](std::u16string_view text) {
            std::basic_string<Char> form;
            FormOf(text, form);
            return form.size();
        };
        size_t longest[3] = {};
        for (const auto& entry : key.keys) longest[0] = std::max(longest[0], length(entry.second->name));
        for (const RegistryValue& value : key.values) {
            longest[1] = std::max(longest[1], length(value.name));
            longest[2] = std::max(longest[2], DataOut<Char>(value).size());
        }
        if (keyClass && *classCount != 0) *keyClass = 0;
        give(classCount, 0);
        give(subkeys, key.keys.size());
        give(longestSubkey, longest[0]);
        give(longestClass, 0);
        give(values, key.values.size());
        give(longestName, longest[1]);
        give(longestData, longest[2]);
        give(descriptor, 0);
        if (time) *time = RegistryStore::Instance().LastWriteTime();
        return ERROR_SUCCESS;
    });
}

template <class Char>
LONG Create(HKEY parent, const Char* name, DWORD reserved, DWORD options, REGSAM wanted, HKEY* result,
            DWORD* disposition) noexcept {
    if (!name) return ERROR_BADKEY;
    // Keys that go with the last process are not offered.
    if (reserved != 0 || options != REG_OPTION_NON_VOLATILE || !result) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] { return CreateRegistryKey(parent, Argument(name), wanted, result, disposition); });
}

template <class Char>
LONG Open(HKEY parent, const Char* name, DWORD options, REGSAM wanted, HKEY* result) noexcept {
    if (options != 0 || !result) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] { return OpenRegistryKey(parent, Argument(name), wanted, result); });
}

template <class Char>
LONG DeleteKey(HKEY parent, const Char* name) noexcept {
    if (!name) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] { return RemoveKey(parent, Argument(name), false); });
}

template <class Char>
LONG DeleteTree(HKEY parent, const Char* name) noexcept {
    return RegistryCall([&] { return name && *name ? RemoveKey(parent, Argument(name), true) : EmptyKey(parent); });
}

}  // namespace
}  // namespace platform

LONG WINAPI RegCloseKey(HKEY hKey) {
    return platform::RegistryCall([&] { return platform::OpenKeys::Instance().Close(hKey); });
}

LONG WINAPI RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD Reserved, LPSTR, DWORD dwOptions, REGSAM samDesired,
                            LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
    return platform::Create(hKey, lpSubKey, Reserved, dwOptions, samDesired, phkResult, lpdwDisposition);
}

LONG WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR, DWORD dwOptions, REGSAM samDesired,
                            LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
    return platform::Create(hKey, lpSubKey, Reserved, dwOptions, samDesired, phkResult, lpdwDisposition);
}

LONG WINAPI RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) {
    return platform::Open(hKey, lpSubKey, ulOptions, samDesired, phkResult);
}

LONG WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) {
    return platform::Open(hKey, lpSubKey, ulOptions, samDesired, phkResult);
}

LONG WINAPI RegDeleteKeyA(HKEY hKey, LPCSTR lpSubKey) { return platform::DeleteKey(hKey, lpSubKey); }

LONG WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) { return platform::DeleteKey(hKey, lpSubKey); }

LONG WINAPI RegDeleteTreeA(HKEY hKey, LPCSTR lpSubKey) { return platform::DeleteTree(hKey, lpSubKey); }

LONG WINAPI RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) { return platform::DeleteTree(hKey, lpSubKey); }

LONG WINAPI RegEnumKeyExA(HKEY hKey, DWORD dwIndex, LPSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPSTR lpClass,
                          LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (lpReserved) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall(
        [&] { return platform::EnumKey(hKey, dwIndex, lpName, lpcchName, lpClass, lpcchClass, lpftLastWriteTime); });
}

LONG WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                          LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (lpReserved) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall(
        [&] { return platform::EnumKey(hKey, dwIndex, lpName, lpcchName, lpClass, lpcchClass, lpftLastWriteTime); });
}

LONG WINAPI RegQueryInfoKeyA(HKEY hKey, LPSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys,
                             LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                             LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                             PFILETIME lpftLastWriteTime) {
    if (lpReserved) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::QueryInfo(hKey, lpClass, lpcchClass, lpcSubKeys, lpcbMaxSubKeyLen, lpcbMaxClassLen, lpcValues,
                                   lpcbMaxValueNameLen, lpcbMaxValueLen, lpcbSecurityDescriptor, lpftLastWriteTime);
    });
}

LONG WINAPI RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys,
                             LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                             LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                             PFILETIME lpftLastWriteTime) {
    if (lpReserved) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::QueryInfo(hKey, lpClass, lpcchClass, lpcSubKeys, lpcbMaxSubKeyLen, lpcbMaxClassLen, lpcValues,
                                   lpcbMaxValueNameLen, lpcbMaxValueLen, lpcbSecurityDescriptor, lpftLastWriteTime);
    });
}
