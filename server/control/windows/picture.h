// The control's only visual, bitmap 201.
#pragma once

#include <windows.h>

namespace talvo {

// Draws it, one of its pixels to one of the device, with its upper left corner at a point in logical units. Nothing is
// drawn when the bitmap cannot be had.
void DrawPicture(HDC target, POINT corner) noexcept;

}  // namespace talvo
