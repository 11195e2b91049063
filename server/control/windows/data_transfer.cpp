#include "server/control/windows/data_transfer.h"

#include <shlobj.h>

#include "server/control/windows/picture.h"

namespace talvo {
namespace {

constexpr FORMATETC kMetafile = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};

HMETAFILE RecordPicture() noexcept {
    const HDC recording = CreateMetaFileW(nullptr);
    if (!recording) return nullptr;
    SetWindowOrgEx(recording, 0, 0, nullptr);
    SetWindowExtEx(recording, kPictureSize, kPictureSize, nullptr);
    DrawPicture(recording, {0, 0});
    return CloseMetaFile(recording);
}

// The block owns the metafile once it has it.
HGLOBAL WrapMetafile(HMETAFILE metafile, const Extent& extent) noexcept {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, sizeof(METAFILEPICT));
    auto* const picture = block ? static_cast<METAFILEPICT*>(GlobalLock(block)) : nullptr;
    if (!picture) return nullptr;
    *picture = {MM_ANISOTROPIC, extent.Width, extent.Height, metafile};
    GlobalUnlock(block);
    return block;
}

}  // namespace

HRESULT DataTransfer::GetData(FORMATETC* format, STGMEDIUM* medium) noexcept {
    if (!medium) return E_POINTER;
    *medium = {};
    if (const HRESULT hr = QueryGetData(format); FAILED(hr)) return hr;
    const HMETAFILE metafile = RecordPicture();
    if (!metafile) return E_OUTOFMEMORY;
    medium->hGlobal = WrapMetafile(metafile, presentation_.CurrentExtent());
    if (!medium->hGlobal) {
        DeleteMetaFile(metafile);
        return E_OUTOFMEMORY;
    }
    medium->tymed = TYMED_MFPICT;
    return S_OK;
}

HRESULT DataTransfer::GetDataHere(FORMATETC*, STGMEDIUM*) noexcept { return E_NOTIMPL; }

HRESULT DataTransfer::QueryGetData(FORMATETC* format) noexcept {
    if (!format) return E_POINTER;
    if (format->cfFormat != kMetafile.cfFormat) return DV_E_FORMATETC;
    if (format->dwAspect != kMetafile.dwAspect) return DV_E_DVASPECT;
    if (format->lindex != kMetafile.lindex) return DV_E_LINDEX;
    return format->tymed & kMetafile.tymed ? S_OK : DV_E_TYMED;
}

// One rendering serves every device.
HRESULT DataTransfer::GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) noexcept {
    if (!format || !canonical) return E_POINTER;
    *canonical = *format;
    canonical->ptd = nullptr;
    return DATA_S_SAMEFORMATETC;
}

HRESULT DataTransfer::SetData(FORMATETC*, STGMEDIUM*, BOOL) noexcept { return E_NOTIMPL; }

HRESULT DataTransfer::EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) noexcept {
    if (!formats) return E_POINTER;
    *formats = nullptr;
    return direction == DATADIR_GET ? SHCreateStdEnumFmtEtc(1, &kMetafile, formats) : E_NOTIMPL;
}

HRESULT DataTransfer::DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* connection) noexcept {
    if (!format || !connection) return E_POINTER;
    *connection = 0;
    if (!presentation_.DataSinks) {
        if (const HRESULT hr = CreateDataAdviseHolder(presentation_.DataSinks.Put()); FAILED(hr)) return hr;
    }
    return presentation_.DataSinks->Advise(this, format, flags, sink, connection);
}

HRESULT DataTransfer::DUnadvise(DWORD connection) noexcept {
    return presentation_.DataSinks ? presentation_.DataSinks->Unadvise(connection) : OLE_E_NOCONNECTION;
}

HRESULT DataTransfer::EnumDAdvise(IEnumSTATDATA** connections) noexcept {
    if (!connections) return E_POINTER;
    *connections = nullptr;
    return presentation_.DataSinks ? presentation_.DataSinks->EnumAdvise(connections) : S_OK;
}

}  // namespace talvo
