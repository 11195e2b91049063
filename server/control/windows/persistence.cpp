#include "server/control/windows/persistence.h"

#include "TalvoBinaryEncoding.h"
#include "server/control/extent.h"

namespace talvo {
namespace {

constexpr const WCHAR* kStreamName = OLESTR("Contents");  // of the stream in a storage
constexpr DWORD kStreamMode = STGM_SHARE_EXCLUSIVE;

// A stream may hand its bytes out in pieces.
ULONG ReadAll(IStream& stream, BYTE* bytes, ULONG size, HRESULT& hr) noexcept {
    ULONG all = 0;
    for (ULONG got = 1; got != 0 && all < size; all += got) {
        got = 0;
        hr = stream.Read(bytes + all, size - all, &got);
        if (FAILED(hr)) break;
    }
    return all;
}

HRESULT ReadFrom(IStream& stream, Extent& extent) noexcept {
    PersistedForm form;
    HRESULT hr = S_OK;
    const ULONG size = ReadAll(stream, form.data(), static_cast<ULONG>(form.size()), hr);
    return FAILED(hr) ? hr : ReadForm({form.data(), size}, extent);
}

HRESULT WriteTo(IStream& stream, const Extent& extent) noexcept {
    const PersistedForm form = WriteForm(extent);
    ULONG written = 0;
    const HRESULT hr = stream.Write(form.data(), static_cast<ULONG>(form.size()), &written);
    if (FAILED(hr)) return hr;
    return written == form.size() ? S_OK : STG_E_MEDIUMFULL;
}

// A property that the bag does not have leaves the length as it is.
HRESULT ReadFrom(IPropertyBag& bag, IErrorLog* log, const WCHAR* name, LONG& length) noexcept {
    VARIANT value;
    VariantInit(&value);
    HRESULT hr = bag.Read(name, &value, log);
    if (SUCCEEDED(hr)) {
        hr = ReadProperty(value, length);
    } else if (hr == E_INVALIDARG) {
        hr = S_OK;
    }
    VariantClear(&value);
    return hr;
}

HRESULT WriteTo(IPropertyBag& bag, const WCHAR* name, LONG length) noexcept {
    VARIANT value;
    V_VT(&value) = VT_UI4;
    V_UI4(&value) = static_cast<ULONG>(length);
    return bag.Write(name, &value);
}

}  // namespace

IUnknown* Persistence::Find(REFIID iid) noexcept {
    if (IsEqualIID(iid, IID_IPersist)) return static_cast<IPersistStreamInit*>(this);
    return FindAmong<IPersistStreamInit, IPersistStream, IPersistStorage, IPersistPropertyBag>(this, iid);
}

HRESULT Persistence::GetClassID(CLSID* clsid) noexcept {
    if (!clsid) return E_POINTER;
    *clsid = CLSID_TalvoBinaryEncoding;
    return S_OK;
}

HRESULT Persistence::IsDirty() noexcept { return presentation_.Dirty ? S_OK : S_FALSE; }

HRESULT Persistence::InitNew() noexcept {
    presentation_.SetExtent(NaturalExtent(), true);
    return S_OK;
}

HRESULT Persistence::Load(IStream* stream) noexcept {
    if (!stream) return E_POINTER;
    Extent extent;
    const HRESULT hr = ReadFrom(*stream, extent);
    if (SUCCEEDED(hr)) presentation_.SetExtent(extent, true);
    return hr;
}

HRESULT Persistence::Save(IStream* stream, BOOL clearDirty) noexcept {
    if (!stream) return E_POINTER;
    const HRESULT hr = WriteTo(*stream, presentation_.CurrentExtent());
    if (SUCCEEDED(hr) && clearDirty) presentation_.Dirty = false;
    return hr;
}

HRESULT Persistence::GetSizeMax(ULARGE_INTEGER* size) noexcept {
    if (!size) return E_POINTER;
    size->QuadPart = PersistedForm().size();
    return S_OK;
}

HRESULT Persistence::Load(IPropertyBag* bag, IErrorLog* log) noexcept {
    if (!bag) return E_POINTER;
    Extent extent = NaturalExtent();
    if (const HRESULT hr = ReadFrom(*bag, log, kWidthProperty, extent.Width); FAILED(hr)) return hr;
    if (const HRESULT hr = ReadFrom(*bag, log, kHeightProperty, extent.Height); FAILED(hr)) return hr;
    presentation_.SetExtent(extent, true);
    return S_OK;
}

HRESULT Persistence::Save(IPropertyBag* bag, BOOL clearDirty, BOOL) noexcept {
    if (!bag) return E_POINTER;
    const Extent extent = presentation_.CurrentExtent();
    if (const HRESULT hr = WriteTo(*bag, kWidthProperty, extent.Width); FAILED(hr)) return hr;
    if (const HRESULT hr = WriteTo(*bag, kHeightProperty, extent.Height); FAILED(hr)) return hr;
    if (clearDirty) presentation_.Dirty = false;
    return S_OK;
}

HRESULT Persistence::InitNew(IStorage* storage) noexcept { return storage ? InitNew() : E_POINTER; }

HRESULT Persistence::Load(IStorage* storage) noexcept {
    if (!storage) return E_POINTER;
    com::ComPtr<IStream> stream;
    const HRESULT hr = storage->OpenStream(kStreamName, nullptr, STGM_READ | kStreamMode, 0, stream.Put());
    return FAILED(hr) ? hr : Load(stream.Get());
}

HRESULT Persistence::Save(IStorage* storage, BOOL sameAsLoad) noexcept {
    if (!storage) return E_POINTER;
    savedAsLoaded_ = sameAsLoad;
    com::ComPtr<IStream> stream;
    const HRESULT hr = storage->CreateStream(kStreamName, STGM_CREATE | STGM_WRITE | kStreamMode, 0, 0, stream.Put());
    return FAILED(hr) ? hr : Save(stream.Get(), FALSE);
}

// The save has become final. A copy elsewhere leaves the control as unsaved as it was, unless it now lives there.
HRESULT Persistence::SaveCompleted(IStorage* storage) noexcept {
    if (savedAsLoaded_ || storage) presentation_.Dirty = false;
    if (const com::ComPtr<IOleAdviseHolder> sinks = presentation_.ObjectSinks) sinks->SendOnSave();
    return S_OK;
}

HRESULT Persistence::HandsOffStorage() noexcept { return S_OK; }

}  // namespace talvo
