#include "server/control/windows/presentation.h"

namespace talvo {

Extent NaturalExtent() noexcept {
    const HDC screen = GetDC(nullptr);
    const int across = screen ? GetDeviceCaps(screen, LOGPIXELSX) : 0;
    const int down = screen ? GetDeviceCaps(screen, LOGPIXELSY) : 0;
    if (screen) ReleaseDC(nullptr, screen);
    return {HimetricOfPixels(kPictureSize, across), HimetricOfPixels(kPictureSize, down)};
}

void Presentation::SetExtent(const Extent& extent, bool saved) noexcept {
    const bool changed = !(extent == CurrentExtent());
    extent_ = extent;
    if (saved) Dirty = false;
    if (!changed) return;
    if (!saved) Dirty = true;
    SendViewChange();
    if (const com::ComPtr<IDataAdviseHolder> sinks = DataSinks) sinks->SendOnDataChange(data_, 0, 0);
}

void Presentation::SendViewChange() noexcept {
    const com::ComPtr<IAdviseSink> sink = View.Sink;
    if (!sink || !(View.Aspects & DVASPECT_CONTENT)) return;
    if (View.Flags & ADVF_ONLYONCE) View = {};
    sink->OnViewChange(DVASPECT_CONTENT, -1);
}

}  // namespace talvo
