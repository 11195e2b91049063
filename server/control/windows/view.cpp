#include "server/control/windows/view.h"

#include "server/control/windows/in_place.h"
#include "server/control/windows/picture.h"

namespace talvo {

IUnknown* View::Find(REFIID iid) noexcept { return FindAmong<IViewObjectEx, IViewObject2, IViewObject>(this, iid); }

HRESULT View::Draw(DWORD aspect, LONG index, void*, DVTARGETDEVICE*, HDC, HDC target, LPCRECTL bounds, LPCRECTL,
                   BOOL(STDMETHODCALLTYPE*)(ULONG_PTR), ULONG_PTR) noexcept {
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (index != -1) return DV_E_LINDEX;
    // Without bounds: at its place in the container's window, if it has one there.
    if (!target || (!bounds && !place_.IsWindowless())) return E_INVALIDARG;
    DrawPicture(target,
                bounds ? POINT{bounds->left, bounds->top} : POINT{place_.Position().left, place_.Position().top});
    return S_OK;
}

HRESULT View::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** colours) noexcept {
    if (!colours) return E_POINTER;
    *colours = nullptr;
    return S_FALSE;  // sixteen standard colours need no palette
}

HRESULT View::Freeze(DWORD, LONG, void*, DWORD*) noexcept { return E_NOTIMPL; }
HRESULT View::Unfreeze(DWORD) noexcept { return E_NOTIMPL; }

HRESULT View::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) noexcept {
    presentation_.View = {com::ComPtr<IAdviseSink>(sink), aspects, flags};
    if (flags & ADVF_PRIMEFIRST) presentation_.SendViewChange();
    return S_OK;
}

HRESULT View::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) noexcept {
    const ViewSink& view = presentation_.View;
    if (aspects) *aspects = view.Aspects;
    if (flags) *flags = view.Flags;
    if (sink) *sink = com::ComPtr<IAdviseSink>(view.Sink).Detach();
    return S_OK;
}

HRESULT View::GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL size) noexcept {
    if (!size) return E_POINTER;
    *size = {};
    if (aspect != DVASPECT_CONTENT) return E_FAIL;
    *size = {presentation_.CurrentExtent().Width, presentation_.CurrentExtent().Height};
    return S_OK;
}

HRESULT View::GetRect(DWORD aspect, LPRECTL rectangle) noexcept {
    if (!rectangle) return E_POINTER;
    *rectangle = {};
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    *rectangle = {0, 0, presentation_.CurrentExtent().Width, presentation_.CurrentExtent().Height};
    return S_OK;
}

// Neither opaque nor solid: what is larger than the picture shows the container behind it.
HRESULT View::GetViewStatus(DWORD* status) noexcept {
    if (!status) return E_POINTER;
    *status = 0;
    return S_OK;
}

HRESULT View::QueryHitPoint(DWORD aspect, LPCRECT bounds, POINT point, LONG, DWORD* hit) noexcept {
    if (!bounds || !hit) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    *hit = PtInRect(bounds, point) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return S_OK;
}

HRESULT View::QueryHitRect(DWORD aspect, LPCRECT bounds, LPCRECT rectangle, LONG, DWORD* hit) noexcept {
    if (!bounds || !rectangle || !hit) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    RECT common;
    *hit = IntersectRect(&common, bounds, rectangle) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return S_OK;
}

HRESULT View::GetNaturalExtent(DWORD aspect, LONG, DVTARGETDEVICE*, HDC, DVEXTENTINFO*, LPSIZEL size) noexcept {
    if (!size) return E_POINTER;
    *size = {};
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    const Extent natural = NaturalExtent();
    *size = {natural.Width, natural.Height};
    return S_OK;
}

}  // namespace talvo
