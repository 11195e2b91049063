#include "server/control/windows/picture.h"

#include "com/module_state.h"
#include "server/control/extent.h"
#include "server/control/windows/gdi.h"

namespace talvo {
namespace {

constexpr WORD kPictureResource = 201;

// A metafile.
bool IsRecording(HDC dc) noexcept {
    const DWORD type = GetObjectType(dc);
    return type == OBJ_METADC || type == OBJ_ENHMETADC;
}

// While this exists, a logical unit is a pixel; `corner` is converted. A recording has no pixels: there it changes
// nothing.
class DevicePixels {
public:
    DevicePixels(HDC dc, POINT& corner) noexcept : dc_(dc), saved_(IsRecording(dc) ? 0 : SaveDC(dc)) {
        if (!saved_) return;
        LPtoDP(dc, &corner, 1);
        ModifyWorldTransform(dc, nullptr, MWT_IDENTITY);
        SetMapMode(dc, MM_TEXT);
        SetWindowOrgEx(dc, 0, 0, nullptr);
        SetViewportOrgEx(dc, 0, 0, nullptr);
    }
    ~DevicePixels() {
        if (saved_) RestoreDC(dc_, saved_);
    }
    DevicePixels(const DevicePixels&) = delete;
    DevicePixels& operator=(const DevicePixels&) = delete;

private:
    HDC dc_;
    int saved_;
};

}  // namespace

void DrawPicture(HDC target, POINT corner) noexcept {
    // As a section it fits the device contexts of devices of any depth; recordings keep what has the screen's.
    const UINT form = IsRecording(target) ? LR_DEFAULTCOLOR : LR_CREATEDIBSECTION;
    const UniqueBitmap bitmap(static_cast<HBITMAP>(
        LoadImageW(com::ModuleState::Get().Instance(), MAKEINTRESOURCEW(kPictureResource), IMAGE_BITMAP, 0, 0, form)));
    if (!bitmap) return;
    UniqueMemoryDc memory(CreateCompatibleDC(target));
    if (!memory) memory.Reset(CreateCompatibleDC(nullptr));
    if (!memory) return;
    const Selected selected(memory.Get(), bitmap.Get());
    if (!selected) return;
    const DevicePixels pixels(target, corner);
    BitBlt(target, corner.x, corner.y, kPictureSize, kPictureSize, memory.Get(), 0, 0, SRCCOPY);
}

}  // namespace talvo
