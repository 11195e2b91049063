// The size of the control: fixed, that of its picture, in the 0.01 mm units that containers count in.
#pragma once

#include <windows.h>

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

}  // namespace talvo
