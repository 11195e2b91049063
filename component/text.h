// Text in the system's ANSI code page: bytes to a string, and a string to bytes.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>

namespace talvo {

// A new string of exactly the converted length; zero bytes become U+0000. `count` is at least 1.
// E_INVALIDARG when nothing converts, E_OUTOFMEMORY.
HRESULT BytesToText(const BYTE* bytes, uint32_t count, BSTR* text) noexcept;

// A new task block of exactly the converted length, without a terminator; characters that the code page lacks become
// its default character. `text` has at least one character. E_INVALIDARG when nothing converts, E_OUTOFMEMORY.
HRESULT TextToBytes(BSTR text, BYTE** bytes, DWORD* count) noexcept;

}  // namespace talvo
