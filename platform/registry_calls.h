// What the narrow and the wide form of a registry call share: text in, text and data out, and no exception beyond the call.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry_tree.h"

namespace platform {

template <class Work>
LONG RegistryCall(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

// Text of the ANSI code page; what cannot be converted becomes the replacement character.
std::u16string WideOf(std::string_view text);
std::string NarrowOf(std::u16string_view text);

inline std::u16string Argument(LPCWSTR text) { return text ? std::u16string(text) : std::u16string(); }
inline std::u16string Argument(LPCSTR text) { return text ? WideOf(text) : std::u16string(); }

inline void FormOf(std::u16string_view text, std::u16string& form) { form = text; }
inline void FormOf(std::u16string_view text, std::string& form) { form = NarrowOf(text); }

// Copies a name with its terminator. `count` is the room in characters, and becomes the length without terminator.
template <class Char>
LONG GiveName(std::u16string_view name, Char* buffer, DWORD* count) {
    std::basic_string<Char> form;
    FormOf(name, form);
    if (form.size() >= *count) return ERROR_MORE_DATA;
    std::memcpy(buffer, form.c_str(), (form.size() + 1) * sizeof(Char));
    *count = static_cast<DWORD>(form.size());
    return ERROR_SUCCESS;
}

// A value's bytes as a call of this character type gives and takes them: narrow calls convert strings.
template <class Char>
std::vector<BYTE> DataOut(const RegistryValue& value);
template <class Char>
std::vector<BYTE> DataIn(DWORD type, const BYTE* data, DWORD size);

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
