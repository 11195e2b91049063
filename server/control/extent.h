// The size of the control: fixed, that of its picture, in the 0.01 mm units that containers count in. It is all that the
// control keeps with a form: in a stream or storage as a record of three 32-bit numbers, in a property bag as two unsigned
// values by name. Reading one that is not right changes nothing.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <array>
#include <span>

namespace talvo {

constexpr LONG kPictureSize = 32;  // pixels, both ways

// In HIMETRIC units. Never negative.
struct Extent {
    LONG Width = 0;
    LONG Height = 0;
    bool operator==(const Extent&) const = default;
};

// Rounded to the nearest unit. A resolution of 0 (no display) counts as the usual 96 pixels per inch.
constexpr LONG HimetricOfPixels(LONG pixels, int pixelsPerInch) noexcept {
    const LONG perInch = pixelsPerInch > 0 ? pixelsPerInch : 96;
    return (pixels * 2540 + perInch / 2) / perInch;
}

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
