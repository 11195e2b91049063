// What the control keeps with a form: its extent. In a stream or storage that is a record of three 32-bit numbers, in a
// property bag two unsigned values by name. Reading one that is not right changes nothing.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <array>
#include <span>

#include "server/control/extent.h"

namespace talvo {

constexpr const WCHAR* kWidthProperty = OLESTR("_cx");
constexpr const WCHAR* kHeightProperty = OLESTR("_cy");

// Number of the form, width, height; little-endian.
using PersistedForm = std::array<BYTE, 12>;

PersistedForm WriteForm(const Extent& extent) noexcept;

// STG_E_READFAULT when bytes are missing, STG_E_INVALIDHEADER for another form, DISP_E_OVERFLOW for an extent that is
// none.
HRESULT ReadForm(std::span<const BYTE> bytes, Extent& extent) noexcept;

// A property's value: anything that converts to an unsigned number within the range of an extent; DISP_E_TYPEMISMATCH or
// DISP_E_OVERFLOW. Empty: the property is not there, `length` stays.
HRESULT ReadProperty(const VARIANT& value, LONG& length) noexcept;

}  // namespace talvo
