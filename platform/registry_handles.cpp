// See registry_handles.h. A handle is the address of its entry, which is found in the table before it is trusted.
#include "platform/registry_handles.h"

#include <algorithm>
#include <iterator>

#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr REGSAM kMaximumAllowed = 0x02000000;
constexpr REGSAM kGenericAll = 0x10000000;

bool PredefinedRoot(HKEY handle, size_t& root) {
    const HKEY roots[] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS};
    const auto* const found = std::find(std::begin(roots), std::end(roots), handle);
    root = static_cast<size_t>(found - std::begin(roots));
    return found != std::end(roots);
}

// The rights of a key that the generic ones stand for.
REGSAM SpecificRights(REGSAM wanted) {
    REGSAM rights = wanted & KEY_ALL_ACCESS;
    if (wanted & (kMaximumAllowed | kGenericAll)) rights |= KEY_ALL_ACCESS;
    if (wanted & GENERIC_READ) rights |= KEY_READ;
    if (wanted & GENERIC_WRITE) rights |= KEY_WRITE;
    return rights;
}

}  // namespace

OpenKeys& OpenKeys::Instance() {
    static OpenKeys* const keys = new OpenKeys;  // stays: handles may be closed while the process ends
    return *keys;
}

LONG KeyTarget::Find(RegistryTree& tree, RegistryKey*& key) const {
    key = HandleKey(tree);
    if (!key) return ERROR_KEY_DELETED;
    key = tree.Find(root, path);
    return key ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

LONG OpenKeys::Resolve(HKEY handle, REGSAM needed, std::u16string_view path, KeyTarget& target) {
    if (PredefinedRoot(handle, target.root)) {
        target.rights = KEY_ALL_ACCESS;
    } else {
        const std::lock_guard hold(lock_);
        const auto found = keys_.find(handle);
        if (found == keys_.end()) return ERROR_INVALID_HANDLE;
        const OpenKey& key = *found->second;
        if (key.deleted) return ERROR_KEY_DELETED;
        target = {key.root, key.path, key.path.size(), key.rights};
    }
    if ((target.rights & needed) != needed) return ERROR_ACCESS_DENIED;
    RegistryPath below;
    if (!SplitPath(path, below) || target.depth + below.size() > kMaxKeyDepth) return ERROR_INVALID_PARAMETER;
    target.path.insert(target.path.end(), below.begin(), below.end());
    return ERROR_SUCCESS;
}

HKEY OpenKeys::Add(const KeyTarget& target, REGSAM wanted) {
    auto entry = std::make_unique<OpenKey>(OpenKey{target.root, target.path, SpecificRights(wanted), false});
    const auto handle = reinterpret_cast<HKEY>(entry.get());
    const std::lock_guard hold(lock_);
    keys_.emplace(handle, std::move(entry));
    return handle;
}

LONG OpenKeys::Close(HKEY handle) {
    size_t root = 0;
    if (PredefinedRoot(handle, root)) return ERROR_SUCCESS;
    const std::lock_guard hold(lock_);
    return keys_.erase(handle) != 0 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

void OpenKeys::MarkDeleted(size_t root, RegistryPathView path) {
    const std::lock_guard hold(lock_);
    for (const auto& entry : keys_) {
        OpenKey& key = *entry.second;
        if (key.root != root || key.path.size() < path.size()) continue;
        if (std::equal(path.begin(), path.end(), key.path.begin(), SameName)) key.deleted = true;
    }
}

}  // namespace platform
