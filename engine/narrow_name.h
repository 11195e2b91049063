// File names in the headers of texts: wide in the session, bytes of a code page in the text.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>

#include "com/unique.h"
#include "engine/bytes.h"

namespace talvo {

// How many bytes `name` takes in the code page. 0 for an empty name, and for one too long to convert.
uint32_t NarrowSize(UINT codePage, const BSTR name) noexcept;

// Fills the `size` bytes that NarrowSize has counted. What the code page does not have becomes its default character.
bool Narrow(UINT codePage, const BSTR name, BYTE* out, uint32_t size) noexcept;

// Holds no string if there is no memory for it.
com::UniqueBstr Widen(UINT codePage, ByteSpan name) noexcept;

}  // namespace talvo
