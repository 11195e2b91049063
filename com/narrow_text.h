// Text between the wide strings of interfaces and the bytes of a code page, by the system's calls: these count in signed
// 32 bits, and are asked for the size first.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>
#include <limits>
#include <string_view>

#include "com/unique.h"

namespace com {

// How many bytes `wide` takes in the code page. 0 for an empty text, and for one too long to convert.
inline uint32_t NarrowSize(UINT codePage, const BSTR wide) noexcept {
    const int length = static_cast<int>(SysStringLen(wide));
    if (length == 0) return 0;
    return static_cast<uint32_t>(WideCharToMultiByte(codePage, 0, wide, length, nullptr, 0, nullptr, nullptr));
}

// Fills the `size` bytes that NarrowSize has counted, without a terminator. What the code page lacks becomes its default
// character.
inline bool Narrow(UINT codePage, const BSTR wide, void* out, uint32_t size) noexcept {
    const int length = static_cast<int>(SysStringLen(wide));
    const int room = static_cast<int>(size);
    return WideCharToMultiByte(codePage, 0, wide, length, static_cast<LPSTR>(out), room, nullptr, nullptr) == room;
}

// A string of exactly the converted length, empty when nothing converts; zero bytes become U+0000. Null when there is no
// memory for it. `flags` are those of MultiByteToWideChar.
inline UniqueBstr Widen(UINT codePage, std::string_view narrow, DWORD flags = 0) noexcept {
    if (narrow.size() > std::numeric_limits<int>::max()) return {};
    const int size = static_cast<int>(narrow.size());
    const int length = size == 0 ? 0 : MultiByteToWideChar(codePage, flags, narrow.data(), size, nullptr, 0);
    UniqueBstr wide(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (wide && length != 0 &&
        MultiByteToWideChar(codePage, flags, narrow.data(), size, wide.Get(), length) != length) {
        wide.Reset(SysAllocStringLen(nullptr, 0));
    }
    return wide;
}

}  // namespace com
