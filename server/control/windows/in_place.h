// The control in its place in the container's window: without a window of its own where the container can do that.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "com/object.h"
#include "server/control/windows/presentation.h"
#include "server/control/windows/window.h"

namespace talvo {

class InPlace final : public com::Facet<IOleInPlaceObjectWindowless, IOleInPlaceActiveObject> {
public:
    InPlace(IUnknown& object, Presentation& presentation) noexcept : Facet(object), presentation_(presentation) {}
    IUnknown* Find(REFIID iid) noexcept;

    // Activates it at its site, if it is not active yet; with `ui` it also takes the focus.
    HRESULT Activate(bool ui) noexcept;
    void Hide() noexcept;
    bool IsWindowless() const noexcept { return site_ && windowless_; }
    const RECT& Position() const noexcept { return position_; }

    // IOleWindow
    STDMETHODIMP GetWindow(HWND* window) noexcept override;
    STDMETHODIMP ContextSensitiveHelp(BOOL enter) noexcept override;
    // IOleInPlaceObject
    STDMETHODIMP InPlaceDeactivate() noexcept override;
    STDMETHODIMP UIDeactivate() noexcept override;
    STDMETHODIMP SetObjectRects(LPCRECT position, LPCRECT clip) noexcept override;
    STDMETHODIMP ReactivateAndUndo() noexcept override;
    // IOleInPlaceObjectWindowless
    STDMETHODIMP OnWindowMessage(UINT message, WPARAM w, LPARAM l, LRESULT* result) noexcept override;
    STDMETHODIMP GetDropTarget(IDropTarget** target) noexcept override;
    // IOleInPlaceActiveObject
    STDMETHODIMP TranslateAccelerator(LPMSG message) noexcept override;
    STDMETHODIMP OnFrameWindowActivate(BOOL active) noexcept override;
    STDMETHODIMP OnDocWindowActivate(BOOL active) noexcept override;
    STDMETHODIMP ResizeBorder(LPCRECT border, IOleInPlaceUIWindow* window, BOOL isFrame) noexcept override;
    STDMETHODIMP EnableModeless(BOOL enable) noexcept override;

private:
    struct Frames {
        com::ComPtr<IOleInPlaceFrame> Frame;
        com::ComPtr<IOleInPlaceUIWindow> Document;
    };
    HRESULT Enter(const com::ComPtr<IOleInPlaceSite>& site) noexcept;
    HRESULT FindFrames(IOleInPlaceSite& site, Frames& frames) noexcept;
    HRESULT UIActivate() noexcept;

    Presentation& presentation_;
    com::ComPtr<IOleInPlaceSite> site_;  // held while active
    Window window_;
    RECT position_{};
    bool windowless_ = false;
    bool uiActive_ = false;
};

}  // namespace talvo
