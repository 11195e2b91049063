// Error information: one object per thread at most, handed over by GetErrorInfo and gone then. An object is filled
// through ICreateErrorInfo and read through IErrorInfo, and may be shared by threads once it is filled.
#include <oleauto.h>

#include <new>
#include <string>

#include "platform/counted.h"

namespace {

// One text of the object. Null and empty differ: a text that was never set is given back as a null string.
class Text {
public:
    HRESULT Set(const OLECHAR* text) noexcept {
        try {
            value_ = text ? text : u"";
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        set_ = text != nullptr;
        return S_OK;
    }
    HRESULT Get(BSTR* out) const noexcept {
        if (!out) return E_INVALIDARG;
        *out = set_ ? SysAllocStringLen(value_.data(), static_cast<UINT>(value_.size())) : nullptr;
        return set_ && !*out ? E_OUTOFMEMORY : S_OK;
    }

private:
    std::u16string value_;
    bool set_ = false;
};

class ErrorInfo final : public platform::Counted<ICreateErrorInfo, IErrorInfo, ISupportErrorInfo> {
public:
    STDMETHODIMP SetGUID(REFGUID guid) override { return guid_ = guid, S_OK; }
    STDMETHODIMP SetSource(LPOLESTR text) override { return source_.Set(text); }
    STDMETHODIMP SetDescription(LPOLESTR text) override { return description_.Set(text); }
    STDMETHODIMP SetHelpFile(LPOLESTR text) override { return helpFile_.Set(text); }
    STDMETHODIMP SetHelpContext(DWORD context) override { return helpContext_ = context, S_OK; }

    STDMETHODIMP GetGUID(GUID* out) override { return out ? (*out = guid_, S_OK) : E_INVALIDARG; }
    STDMETHODIMP GetSource(BSTR* out) override { return source_.Get(out); }
    STDMETHODIMP GetDescription(BSTR* out) override { return description_.Get(out); }
    STDMETHODIMP GetHelpFile(BSTR* out) override { return helpFile_.Get(out); }
    STDMETHODIMP GetHelpContext(DWORD* out) override { return out ? (*out = helpContext_, S_OK) : E_INVALIDARG; }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
        return riid == IID_ICreateErrorInfo ? S_OK : S_FALSE;
    }

private:
    GUID guid_ = GUID_NULL;
    Text source_;
    Text description_;
    Text helpFile_;
    DWORD helpContext_ = 0;
};

// The slot of a thread; what is left in it is released when the thread ends.
struct Slot {
    IErrorInfo* info = nullptr;
    Slot() = default;
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() { Put(nullptr); }
    void Put(IErrorInfo* next) {
        if (next) next->AddRef();
        IErrorInfo* old = info;
        info = next;
        if (old) old->Release();
    }
};

thread_local Slot slot;

}  // namespace

HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
    if (!pperrinfo) return E_INVALIDARG;
    *pperrinfo = new (std::nothrow) ErrorInfo;
    return *pperrinfo ? S_OK : E_OUTOFMEMORY;
}

HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) {
    if (dwReserved != 0) return E_INVALIDARG;
    slot.Put(perrinfo);
    return S_OK;
}

HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) {
    if (dwReserved != 0 || !pperrinfo) return E_INVALIDARG;
    *pperrinfo = slot.info;
    slot.info = nullptr;
    return *pperrinfo ? S_OK : S_FALSE;
}
