// The registry calls about keys: open, create, delete, enumerate.
#include "platform/registry_calls.h"
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

LONG EnumKey(HKEY handle, DWORD index, WCHAR* name, DWORD* count) {
    if (!name || !count) return ERROR_INVALID_PARAMETER;
    return ReadKey(handle, KEY_ENUMERATE_SUB_KEYS, [&](const RegistryKey& key) -> LONG {
        if (index >= key.keys.size()) return ERROR_NO_MORE_ITEMS;
        return GiveName(std::next(key.keys.begin(), index)->second->name, name, count);
    });
}

template <class Char>
LONG Open(HKEY parent, const Char* name, DWORD options, REGSAM wanted, HKEY* result) noexcept {
    if (options != 0 || !result) return ERROR_INVALID_PARAMETER;
    return RegistryCall([&] { return OpenRegistryKey(parent, Argument(name), wanted, result); });
}

}  // namespace
}  // namespace platform

LONG WINAPI RegCloseKey(HKEY hKey) {
    return platform::RegistryCall([&] { return platform::OpenKeys::Instance().Close(hKey); });
}

LONG WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR, DWORD dwOptions, REGSAM samDesired,
                            LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
    if (Reserved != 0 || dwOptions != REG_OPTION_NON_VOLATILE || !phkResult) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] {
        return platform::CreateRegistryKey(hKey, platform::Argument(lpSubKey), samDesired, phkResult, lpdwDisposition);
    });
}

LONG WINAPI RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) {
    return platform::Open(hKey, lpSubKey, ulOptions, samDesired, phkResult);
}

LONG WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) {
    return platform::Open(hKey, lpSubKey, ulOptions, samDesired, phkResult);
}

LONG WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) {
    if (!lpSubKey) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] { return platform::RemoveKey(hKey, lpSubKey, false); });
}

LONG WINAPI RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) {
    return platform::RegistryCall(
        [&] { return lpSubKey && *lpSubKey ? platform::RemoveKey(hKey, lpSubKey, true) : platform::EmptyKey(hKey); });
}

// Keys have no class here, and the time of their last change is not told.
LONG WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                          LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (lpReserved || lpClass || lpcchClass || lpftLastWriteTime) return ERROR_INVALID_PARAMETER;
    return platform::RegistryCall([&] { return platform::EnumKey(hKey, dwIndex, lpName, lpcchName); });
}
