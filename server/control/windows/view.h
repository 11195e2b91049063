// How the control looks: drawing, hit tests and sizes for the container that shows it.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "com/object.h"
#include "server/control/windows/presentation.h"

namespace talvo {

class InPlace;

class View final : public com::Facet<IViewObjectEx> {
public:
    View(IUnknown& object, Presentation& presentation, const InPlace& place) noexcept
        : Facet(object), presentation_(presentation), place_(place) {}
    IUnknown* Find(REFIID iid) noexcept;

    // IViewObject
    STDMETHODIMP Draw(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* device, HDC information, HDC target,
                      LPCRECTL bounds, LPCRECTL windowBounds, BOOL(STDMETHODCALLTYPE* mayGoOn)(ULONG_PTR),
                      ULONG_PTR context) noexcept override;
    STDMETHODIMP GetColorSet(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* device, HDC information,
                             LOGPALETTE** colours) noexcept override;
    STDMETHODIMP Freeze(DWORD aspect, LONG index, void* aspectInfo, DWORD* key) noexcept override;
    STDMETHODIMP Unfreeze(DWORD key) noexcept override;
    STDMETHODIMP SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) noexcept override;
    STDMETHODIMP GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) noexcept override;
    // IViewObject2
    STDMETHODIMP GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE* device, LPSIZEL size) noexcept override;
    // IViewObjectEx
    STDMETHODIMP GetRect(DWORD aspect, LPRECTL rectangle) noexcept override;
    STDMETHODIMP GetViewStatus(DWORD* status) noexcept override;
    STDMETHODIMP QueryHitPoint(DWORD aspect, LPCRECT bounds, POINT point, LONG closeHint, DWORD* hit) noexcept override;
    STDMETHODIMP QueryHitRect(DWORD aspect, LPCRECT bounds, LPCRECT rectangle, LONG closeHint,
                              DWORD* hit) noexcept override;
    STDMETHODIMP GetNaturalExtent(DWORD aspect, LONG index, DVTARGETDEVICE* device, HDC information,
                                  DVEXTENTINFO* proposal, LPSIZEL size) noexcept override;

private:
    Presentation& presentation_;
    const InPlace& place_;
};

}  // namespace talvo
