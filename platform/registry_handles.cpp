// Handles are numbers that count up, so one that was closed never comes back as the handle of another key.
#include "platform/registry_handles.h"

#include <algorithm>
#include <iterator>

namespace platform {
namespace {

bool PredefinedRoot(HKEY handle, size_t& root) {
    const HKEY roots[] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS};
    const auto* const found = std::find(std::begin(roots), std::end(roots), handle);
    root = static_cast<size_t>(found - std::begin(roots));
    return found != std::end(roots);
}

}  // namespace

OpenKeys& OpenKeys::Instance() {
    static OpenKeys* const keys = new OpenKeys;  // stays: handles may be closed while the process ends
    return *keys;
}

LONG OpenKeys::Resolve(HKEY handle, std::u16string_view path, KeyPlace& place) {
    if (!PredefinedRoot(handle, place.root)) {
        const std::lock_guard hold(lock_);
        const auto found = keys_.find(handle);
        if (found == keys_.end()) return ERROR_INVALID_HANDLE;
        place = found->second;
    }
    RegistryPath below;
    if (!SplitPath(path, below) || place.path.size() + below.size() > kMaxKeyDepth) return ERROR_INVALID_PARAMETER;
    place.path.insert(place.path.end(), below.begin(), below.end());
    return ERROR_SUCCESS;
}

HKEY OpenKeys::Add(const KeyPlace& place) {
    const std::lock_guard hold(lock_);
    const auto handle = reinterpret_cast<HKEY>(++last_);
    keys_.emplace(handle, place);
    return handle;
}

LONG OpenKeys::Close(HKEY handle) {
    size_t root = 0;
    if (PredefinedRoot(handle, root)) return ERROR_SUCCESS;
    const std::lock_guard hold(lock_);
    return keys_.erase(handle) != 0 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

}  // namespace platform
