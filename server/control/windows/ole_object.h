// The control as an embedded object: its site, its size, what it can be told to do, who is notified of its changes.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "com/object.h"
#include "server/control/windows/in_place.h"
#include "server/control/windows/presentation.h"
#include "server/control/windows/view.h"

namespace talvo {

class OleObject final : public com::Facet<IOleObject, IOleControl, IQuickActivate> {
public:
    OleObject(IUnknown& object, Presentation& presentation, InPlace& place, View& view) noexcept
        : Facet(object), presentation_(presentation), place_(place), view_(view) {}
    IUnknown* Find(REFIID iid) noexcept;

    // IOleObject
    STDMETHODIMP SetClientSite(IOleClientSite* site) noexcept override;
    STDMETHODIMP GetClientSite(IOleClientSite** site) noexcept override;
    STDMETHODIMP SetHostNames(LPCOLESTR application, LPCOLESTR document) noexcept override;
    STDMETHODIMP Close(DWORD saving) noexcept override;
    STDMETHODIMP SetMoniker(DWORD which, IMoniker* moniker) noexcept override;
    STDMETHODIMP GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) noexcept override;
    STDMETHODIMP InitFromData(IDataObject* data, BOOL creation, DWORD reserved) noexcept override;
    STDMETHODIMP GetClipboardData(DWORD reserved, IDataObject** data) noexcept override;
    STDMETHODIMP DoVerb(LONG verb, LPMSG message, IOleClientSite* site, LONG index, HWND parent,
                        LPCRECT position) noexcept override;
    STDMETHODIMP EnumVerbs(IEnumOLEVERB** verbs) noexcept override;
    STDMETHODIMP Update() noexcept override;
    STDMETHODIMP IsUpToDate() noexcept override;
    STDMETHODIMP GetUserClassID(CLSID* clsid) noexcept override;
    STDMETHODIMP GetUserType(DWORD form, LPOLESTR* name) noexcept override;
    STDMETHODIMP SetExtent(DWORD aspect, SIZEL* size) noexcept override;
    STDMETHODIMP GetExtent(DWORD aspect, SIZEL* size) noexcept override;
    STDMETHODIMP Advise(IAdviseSink* sink, DWORD* connection) noexcept override;
    STDMETHODIMP Unadvise(DWORD connection) noexcept override;
    STDMETHODIMP EnumAdvise(IEnumSTATDATA** connections) noexcept override;
    STDMETHODIMP GetMiscStatus(DWORD aspect, DWORD* status) noexcept override;
    STDMETHODIMP SetColorScheme(LOGPALETTE* colours) noexcept override;
    // IOleControl
    STDMETHODIMP GetControlInfo(CONTROLINFO* information) noexcept override;
    STDMETHODIMP OnMnemonic(MSG* message) noexcept override;
    STDMETHODIMP OnAmbientPropertyChange(DISPID property) noexcept override;
    STDMETHODIMP FreezeEvents(BOOL freeze) noexcept override;
    // IQuickActivate
    STDMETHODIMP QuickActivate(QACONTAINER* container, QACONTROL* control) noexcept override;
    STDMETHODIMP SetContentExtent(LPSIZEL size) noexcept override;
    STDMETHODIMP GetContentExtent(LPSIZEL size) noexcept override;

private:
    Presentation& presentation_;
    InPlace& place_;
    View& view_;
};

}  // namespace talvo
