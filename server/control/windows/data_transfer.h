// The control's picture as data, for containers that keep one of it: a metafile.
#pragma once

#include <windows.h>
#include <objidl.h>

#include "com/object.h"
#include "server/control/windows/presentation.h"

namespace talvo {

class DataTransfer final : public com::Facet<IDataObject> {
public:
    DataTransfer(IUnknown& object, Presentation& presentation) noexcept : Facet(object), presentation_(presentation) {}
    IUnknown* Find(REFIID iid) noexcept { return FindAmong<IDataObject>(this, iid); }

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) noexcept override;
    STDMETHODIMP GetDataHere(FORMATETC* format, STGMEDIUM* medium) noexcept override;
    STDMETHODIMP QueryGetData(FORMATETC* format) noexcept override;
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) noexcept override;
    STDMETHODIMP SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) noexcept override;
    STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) noexcept override;
    STDMETHODIMP DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* connection) noexcept override;
    STDMETHODIMP DUnadvise(DWORD connection) noexcept override;
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA** connections) noexcept override;

private:
    Presentation& presentation_;
};

}  // namespace talvo
