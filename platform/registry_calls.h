// What the calls about keys and values share: text in, text and data out, and no exception beyond the call.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry_handles.h"
#include "platform/registry_store.h"

namespace platform {

template <class Work>
LONG RegistryCall(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

// Runs `work` on the handle's own key as it is now.
template <class Work>
LONG ReadKey(HKEY handle, REGSAM needed, Work work) {
    KeyTarget target;
    const LONG code = OpenKeys::Instance().Resolve(handle, needed, {}, target);
    if (code != ERROR_SUCCESS) return code;
    return RegistryStore::Instance().Read([&](RegistryTree& tree) -> LONG {
        RegistryKey* key = nullptr;
        const LONG found = target.Find(tree, key);
        return found == ERROR_SUCCESS ? work(*key) : found;
    });
}

// Text of the ANSI code page; what cannot be converted becomes the replacement character.
std::u16string WideOf(std::string_view text);
std::string NarrowOf(std::u16string_view text);

inline std::u16string Argument(LPCWSTR text) { return text ? std::u16string(text) : std::u16string(); }
inline std::u16string Argument(LPCSTR text) { return text ? WideOf(text) : std::u16string(); }

// Copies a name with its terminator. `count` is the room in characters, and becomes the length without terminator.
inline LONG GiveName(const std::u16string& name, WCHAR* buffer, DWORD* count) {
    if (name.size() >= *count) return ERROR_MORE_DATA;
    std::memcpy(buffer, name.c_str(), (name.size() + 1) * sizeof(WCHAR));
    *count = static_cast<DWORD>(name.size());
    return ERROR_SUCCESS;
}

// A value's bytes as a call of this character type gives them: narrow calls convert strings.
template <class Char>
std::vector<BYTE> DataOut(const RegistryValue& value);

// Copies a value's data. Without a buffer, or with one too small, only the size is told.
template <class Char>
LONG GiveData(const RegistryValue& value, DWORD* type, BYTE* buffer, DWORD* size) {
    if (buffer && !size) return ERROR_INVALID_PARAMETER;
    if (type) *type = value.type;
    if (!size) return ERROR_SUCCESS;
    const std::vector<BYTE> data = DataOut<Char>(value);
    const size_t room = buffer ? *size : 0;
    *size = static_cast<DWORD>(data.size());
    if (!buffer) return ERROR_SUCCESS;
    if (data.size() > room) return ERROR_MORE_DATA;
    std::copy(data.begin(), data.end(), buffer);
    // A string that was stored without terminator gets one where there is room, beyond the size told.
    const bool ends = data.size() >= sizeof(Char) &&
                      std::all_of(data.end() - sizeof(Char), data.end(), [](BYTE b) { return b == 0; });
    if (value.IsText() && !ends && room - data.size() >= sizeof(Char))
        std::memset(buffer + data.size(), 0, sizeof(Char));
    return ERROR_SUCCESS;
}

}  // namespace platform
