// Conversion of names by the platform's code page calls, which count in ints.
#include "engine/narrow_name.h"

namespace talvo {

uint32_t NarrowSize(UINT codePage, const BSTR name) noexcept {
    const int length = static_cast<int>(SysStringLen(name));
    if (length == 0) return 0;
    return static_cast<uint32_t>(WideCharToMultiByte(codePage, 0, name, length, nullptr, 0, nullptr, nullptr));
}

bool Narrow(UINT codePage, const BSTR name, BYTE* out, uint32_t size) noexcept {
    const int length = static_cast<int>(SysStringLen(name));
    const int room = static_cast<int>(size);
    return WideCharToMultiByte(codePage, 0, name, length, reinterpret_cast<char*>(out), room, nullptr, nullptr) == room;
}

com::UniqueBstr Widen(UINT codePage, ByteSpan name) noexcept {
    const auto* const source = reinterpret_cast<const char*>(name.data());
    const int size = static_cast<int>(name.size());
    const int length = size == 0 ? 0 : MultiByteToWideChar(codePage, 0, source, size, nullptr, 0);
    com::UniqueBstr wide(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (wide && length != 0) MultiByteToWideChar(codePage, 0, source, size, wide.Get(), length);
    return wide;
}

}  // namespace talvo
