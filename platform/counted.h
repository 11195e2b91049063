// The IUnknown of the stand-in's own objects: they answer for the interfaces they are made of, and go with the last
// reference. They begin with one.
#pragma once

#include <windows.h>

#include <objbase.h>

namespace platform {

template <class First, class... Others>
class Counted : public First, public Others... {
public:
    Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        *object = riid == IID_IUnknown || riid == __uuidof(First) ? static_cast<First*>(this) : nullptr;
        static_cast<void>(((riid == __uuidof(Others) ? * object = static_cast<Others*>(this) : nullptr), ...));
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

protected:
    virtual ~Counted() = default;

private:
    LONG references_ = 1;
};

}  // namespace platform
