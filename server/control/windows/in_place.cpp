// Calls to the container come back into the control, so its state is right before each of them.
#include "server/control/windows/in_place.h"

#include <utility>

namespace talvo {

IUnknown* InPlace::Find(REFIID iid) noexcept {
    if (IsEqualIID(iid, IID_IOleWindow)) return static_cast<IOleInPlaceObjectWindowless*>(this);
    return FindAmong<IOleInPlaceObjectWindowless, IOleInPlaceObject, IOleInPlaceActiveObject>(this, iid);
}

HRESULT InPlace::Activate(bool ui) noexcept {
    if (!site_) {
        if (!presentation_.Site) return OLEOBJ_S_CANNOT_DOVERB_NOW;
        com::ComPtr<IOleInPlaceSite> site;
        if (const HRESULT hr = presentation_.Site.As(site); FAILED(hr)) return hr;
        if (const HRESULT hr = site->CanInPlaceActivate(); hr != S_OK) return FAILED(hr) ? hr : E_FAIL;
        if (const HRESULT hr = Enter(site); FAILED(hr)) {
            InPlaceDeactivate();
            return hr;
        }
    }
    if (window_.Handle()) ShowWindow(window_.Handle(), SW_SHOW);
    if (presentation_.Site) presentation_.Site->ShowObject();
    return ui ? UIActivate() : S_OK;
}

HRESULT InPlace::Enter(const com::ComPtr<IOleInPlaceSite>& site) noexcept {
    com::ComPtr<IOleInPlaceSiteEx> extended;
    com::ComPtr<IOleInPlaceSiteWindowless> windowless;
    if (SUCCEEDED(site.As(windowless)) && windowless->CanWindowlessActivate() != S_OK) windowless.Reset();
    if (FAILED(site.As(extended))) windowless.Reset();

    BOOL noRedraw = FALSE;
    const HRESULT entered = extended ? extended->OnInPlaceActivateEx(&noRedraw, windowless ? ACTIVATE_WINDOWLESS : 0)
                                     : site->OnInPlaceActivate();
    if (FAILED(entered)) return entered;
    site_ = site;
    windowless_ = static_cast<bool>(windowless);

    Frames frames;
    if (const HRESULT hr = FindFrames(*site.Get(), frames); FAILED(hr)) return hr;
    if (windowless_) return S_OK;
    HWND parent = nullptr;
    if (const HRESULT hr = site->GetWindow(&parent); FAILED(hr)) return hr;
    return window_.Create(parent, position_) ? S_OK : E_FAIL;
}

// Also stores the position that the container gives.
HRESULT InPlace::FindFrames(IOleInPlaceSite& site, Frames& frames) noexcept {
    RECT clip{};
    OLEINPLACEFRAMEINFO information{};
    information.cb = sizeof information;
    const HRESULT hr =
        site.GetWindowContext(frames.Frame.Put(), frames.Document.Put(), &position_, &clip, &information);
    if (SUCCEEDED(hr)) window_.Place(position_, clip);
    return hr;
}

HRESULT InPlace::UIActivate() noexcept {
    if (std::exchange(uiActive_, true)) return S_OK;
    const com::ComPtr<IOleInPlaceSite> site = site_;
    if (const HRESULT hr = site->OnUIActivate(); FAILED(hr)) {
        uiActive_ = false;
        return hr;
    }
    com::ComPtr<IOleInPlaceSiteWindowless> windowless;
    if (windowless_ && SUCCEEDED(site.As(windowless))) windowless->SetFocus(TRUE);
    if (window_.Handle()) SetFocus(window_.Handle());
    Frames frames;
    if (FAILED(FindFrames(*site.Get(), frames))) return S_OK;
    // No menu, no tool bars: the borders stay the container's.
    if (frames.Frame) frames.Frame->SetActiveObject(this, nullptr);
    if (frames.Document) frames.Document->SetActiveObject(this, nullptr);
    if (frames.Frame) frames.Frame->SetBorderSpace(nullptr);
    if (frames.Document) frames.Document->SetBorderSpace(nullptr);
    return S_OK;
}

HRESULT InPlace::UIDeactivate() noexcept {
    if (!std::exchange(uiActive_, false)) return S_OK;
    const com::ComPtr<IOleInPlaceSite> site = site_;
    Frames frames;
    if (SUCCEEDED(FindFrames(*site.Get(), frames))) {
        if (frames.Document) frames.Document->SetActiveObject(nullptr, nullptr);
        if (frames.Frame) frames.Frame->SetActiveObject(nullptr, nullptr);
    }
    site->OnUIDeactivate(FALSE);
    return S_OK;
}

HRESULT InPlace::InPlaceDeactivate() noexcept {
    if (!site_) return S_OK;
    UIDeactivate();
    const com::ComPtr<IOleInPlaceSite> site = std::move(site_);
    if (!site) return S_OK;  // the container did it meanwhile
    window_.Destroy();
    windowless_ = false;
    com::ComPtr<IOleInPlaceSiteEx> extended;
    if (SUCCEEDED(site.As(extended))) {
        extended->OnInPlaceDeactivateEx(TRUE);
    } else {
        site->OnInPlaceDeactivate();
    }
    return S_OK;
}

void InPlace::Hide() noexcept {
    UIDeactivate();
    if (window_.Handle()) ShowWindow(window_.Handle(), SW_HIDE);
}

HRESULT InPlace::GetWindow(HWND* window) noexcept {
    if (!window) return E_POINTER;
    *window = window_.Handle();
    return *window ? S_OK : E_FAIL;
}

HRESULT InPlace::ContextSensitiveHelp(BOOL) noexcept { return S_OK; }

HRESULT InPlace::SetObjectRects(LPCRECT position, LPCRECT clip) noexcept {
    if (!position || !clip) return E_POINTER;
    position_ = *position;
    window_.Place(*position, *clip);
    return S_OK;
}

HRESULT InPlace::ReactivateAndUndo() noexcept { return INPLACE_E_NOTUNDOABLE; }

// Every message is the container's own to answer.
HRESULT InPlace::OnWindowMessage(UINT, WPARAM, LPARAM, LRESULT* result) noexcept {
    if (result) *result = 0;
    return S_FALSE;
}

HRESULT InPlace::GetDropTarget(IDropTarget** target) noexcept {
    if (!target) return E_POINTER;
    *target = nullptr;
    return E_NOTIMPL;
}

HRESULT InPlace::TranslateAccelerator(LPMSG) noexcept { return S_FALSE; }
HRESULT InPlace::OnFrameWindowActivate(BOOL) noexcept { return S_OK; }
HRESULT InPlace::OnDocWindowActivate(BOOL) noexcept { return S_OK; }
HRESULT InPlace::ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) noexcept { return S_OK; }
HRESULT InPlace::EnableModeless(BOOL) noexcept { return S_OK; }

}  // namespace talvo
