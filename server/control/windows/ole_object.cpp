#include "server/control/windows/ole_object.h"

#include "TalvoBinaryEncoding.h"

namespace talvo {

IUnknown* OleObject::Find(REFIID iid) noexcept { return FindAmong<IOleObject, IOleControl, IQuickActivate>(this, iid); }

HRESULT OleObject::SetClientSite(IOleClientSite* site) noexcept {
    if (!site) place_.InPlaceDeactivate();
    presentation_.Site = com::ComPtr<IOleClientSite>(site);
    return S_OK;
}

HRESULT OleObject::GetClientSite(IOleClientSite** site) noexcept {
    if (!site) return E_POINTER;
    *site = com::ComPtr<IOleClientSite>(presentation_.Site).Detach();
    return S_OK;
}

HRESULT OleObject::SetHostNames(LPCOLESTR, LPCOLESTR) noexcept { return S_OK; }

HRESULT OleObject::Close(DWORD saving) noexcept {
    place_.InPlaceDeactivate();
    const com::ComPtr<IOleClientSite> site = presentation_.Site;
    if (presentation_.Dirty && saving != OLECLOSE_NOSAVE && site) site->SaveObject();
    if (const com::ComPtr<IOleAdviseHolder> sinks = presentation_.ObjectSinks) sinks->SendOnClose();
    return S_OK;
}

// The control is neither linked to nor made from data: the next methods do nothing.
HRESULT OleObject::SetMoniker(DWORD, IMoniker*) noexcept { return E_NOTIMPL; }

HRESULT OleObject::GetMoniker(DWORD, DWORD, IMoniker** moniker) noexcept {
    if (!moniker) return E_POINTER;
    *moniker = nullptr;
    return E_NOTIMPL;
}

HRESULT OleObject::InitFromData(IDataObject*, BOOL, DWORD) noexcept { return E_NOTIMPL; }

HRESULT OleObject::GetClipboardData(DWORD, IDataObject** data) noexcept {
    if (!data) return E_POINTER;
    *data = nullptr;
    return E_NOTIMPL;
}

HRESULT OleObject::SetColorScheme(LOGPALETTE*) noexcept { return E_NOTIMPL; }

HRESULT OleObject::DoVerb(LONG verb, LPMSG, IOleClientSite*, LONG, HWND, LPCRECT) noexcept {
    switch (verb) {
        case OLEIVERB_PRIMARY:
        case OLEIVERB_UIACTIVATE:
            return place_.Activate(true);
        case OLEIVERB_SHOW:
        case OLEIVERB_INPLACEACTIVATE:
            return place_.Activate(false);
        case OLEIVERB_HIDE:
            place_.Hide();
            return S_OK;
        case OLEIVERB_DISCARDUNDOSTATE:
            return S_OK;  // there is none
        default: {
            if (verb < 0) return E_NOTIMPL;
            // A verb that the object does not know counts as its first.
            const HRESULT hr = place_.Activate(true);
            return hr == S_OK ? OLEOBJ_S_INVALIDVERB : hr;
        }
    }
}

HRESULT OleObject::EnumVerbs(IEnumOLEVERB** verbs) noexcept {
    if (!verbs) return E_POINTER;
    *verbs = nullptr;
    return OLEOBJ_E_NOVERBS;
}

HRESULT OleObject::Update() noexcept { return S_OK; }
HRESULT OleObject::IsUpToDate() noexcept { return S_OK; }

HRESULT OleObject::GetUserClassID(CLSID* clsid) noexcept {
    if (!clsid) return E_POINTER;
    *clsid = CLSID_TalvoBinaryEncoding;
    return S_OK;
}

HRESULT OleObject::GetUserType(DWORD form, LPOLESTR* name) noexcept {
    if (!name) return E_POINTER;
    *name = nullptr;
    return OleRegGetUserType(CLSID_TalvoBinaryEncoding, form, name);
}

HRESULT OleObject::GetMiscStatus(DWORD aspect, DWORD* status) noexcept {
    if (!status) return E_POINTER;
    *status = aspect == DVASPECT_CONTENT ? kMiscStatus : 0;
    return S_OK;
}

HRESULT OleObject::SetExtent(DWORD aspect, SIZEL* size) noexcept {
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (!size) return E_POINTER;
    const Extent natural = NaturalExtent();
    if (!(Extent{size->cx, size->cy} == natural)) return E_FAIL;
    presentation_.SetExtent(natural, false);
    return S_OK;
}

HRESULT OleObject::GetExtent(DWORD aspect, SIZEL* size) noexcept { return view_.GetExtent(aspect, -1, nullptr, size); }

HRESULT OleObject::Advise(IAdviseSink* sink, DWORD* connection) noexcept {
    if (!connection) return E_POINTER;
    *connection = 0;
    if (!presentation_.ObjectSinks) {
        if (const HRESULT hr = CreateOleAdviseHolder(presentation_.ObjectSinks.Put()); FAILED(hr)) return hr;
    }
    return presentation_.ObjectSinks->Advise(sink, connection);
}

HRESULT OleObject::Unadvise(DWORD connection) noexcept {
    return presentation_.ObjectSinks ? presentation_.ObjectSinks->Unadvise(connection) : OLE_E_NOCONNECTION;
}

HRESULT OleObject::EnumAdvise(IEnumSTATDATA** connections) noexcept {
    if (!connections) return E_POINTER;
    *connections = nullptr;
    return presentation_.ObjectSinks ? presentation_.ObjectSinks->EnumAdvise(connections) : S_OK;
}

// The control has no use for the container's keys and ambient properties.
HRESULT OleObject::GetControlInfo(CONTROLINFO*) noexcept { return E_NOTIMPL; }
HRESULT OleObject::OnMnemonic(MSG*) noexcept { return E_NOTIMPL; }
HRESULT OleObject::OnAmbientPropertyChange(DISPID) noexcept { return S_OK; }
HRESULT OleObject::FreezeEvents(BOOL) noexcept { return S_OK; }

HRESULT OleObject::QuickActivate(QACONTAINER* container, QACONTROL* control) noexcept {
    if (!container || !control) return E_POINTER;
    if (container->cbSize < sizeof *container || control->cbSize < sizeof *control) return E_INVALIDARG;
    SetClientSite(container->pClientSite);
    if (container->pAdviseSink) view_.SetAdvise(DVASPECT_CONTENT, 0, container->pAdviseSink);
    // No events and no property notifications: those cookies stay 0.
    *control = {};
    control->cbSize = sizeof *control;
    control->dwMiscStatus = kMiscStatus;
    return view_.GetViewStatus(&control->dwViewStatus);
}

HRESULT OleObject::SetContentExtent(LPSIZEL size) noexcept { return SetExtent(DVASPECT_CONTENT, size); }
HRESULT OleObject::GetContentExtent(LPSIZEL size) noexcept { return GetExtent(DVASPECT_CONTENT, size); }

}  // namespace talvo
