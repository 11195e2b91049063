// A processor of the client's own, written here: it answers what the test tells it to and notes what it is asked.
#pragma once

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {

struct Reply {
    HRESULT Code = S_OK;
    const char* Bytes = nullptr;  // null: no buffer
};

class ClientProcessor final : public IDispatch, public ITalvoProcessData {
public:
    using Answer = std::function<Reply(const char* operation, std::string_view source, LONG end)>;

    // Without IDispatch, or without ITalvoProcessData on QueryInterface, when told so.
    explicit ClientProcessor(Answer answer, bool dispatch = true, bool processor = true)
        : answer_(std::move(answer)), dispatch_(dispatch), processor_(processor) {}
    static com::ComPtr<ClientProcessor> New(Answer answer, bool dispatch = true, bool processor = true) {
        com::ComPtr<ClientProcessor> made;
        made.Attach(new ClientProcessor(std::move(answer), dispatch, processor));
        return made;
    }

    std::atomic<int> Resets = 0;
    ITalvoProcessData* Data() { return this; }
    ULONG References() const { return references_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        if (IsEqualIID(iid, IID_IUnknown) || (dispatch_ && IsEqualIID(iid, IID_IDispatch)))
            *object = static_cast<IDispatch*>(this);
        if (processor_ && IsEqualIID(iid, IID_ITalvoProcessData)) *object = static_cast<ITalvoProcessData*>(this);
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP Process(const BYTE* source, DWORD size, LONG end, DWORD header, DWORD footer, BYTE** out,
                         DWORD* outSize) override {
        if (header != 0 || footer != 0) return E_UNEXPECTED;
        return Convert("Process", source, size, end, out, outSize);
    }
    STDMETHODIMP Revert(const BYTE* source, DWORD size, LONG end, BYTE** out, DWORD* outSize,
                        DWORD* consumed) override {
        *consumed = 0;  // nobody may rely on it
        return Convert("Revert", source, size, end, out, outSize);
    }
    STDMETHODIMP Reset() override {
        ++Resets;
        return E_FAIL;  // nobody may care
    }
    STDMETHODIMP get_CanDetectEndOfData(LONG*) override { return E_NOTIMPL; }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

private:
    ~ClientProcessor() = default;

    HRESULT Convert(const char* operation, const BYTE* source, DWORD size, LONG end, BYTE** out, DWORD* outSize) {
        *out = nullptr;
        *outSize = 0;
        const std::string bytes(reinterpret_cast<const char*>(source), source ? size : 0);
        const Reply reply = answer_(operation, bytes, end);
        if (reply.Bytes) {
            *outSize = static_cast<DWORD>(std::strlen(reply.Bytes));
            *out = static_cast<BYTE*>(CoTaskMemAlloc(*outSize + 1));
            std::memcpy(*out, reply.Bytes, *outSize);
        }
        return reply.Code;
    }

    Answer answer_;
    bool dispatch_;
    bool processor_;
    std::atomic<ULONG> references_ = 1;
};

}  // namespace talvo::test
