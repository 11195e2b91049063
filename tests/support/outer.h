// An outer object that counts its references: of an aggregate, or of nothing.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include "com/com_ptr.h"

namespace talvo::test {

// An interface of it that no class of ours knows.
constexpr IID kOuterOnly = {0x0e1f5a39, 0x7c1d, 0x4f6e, {0x8a, 0x11, 0x5b, 0x0c, 0x92, 0x3e, 0x4d, 0x70}};

class Outer final : public IUnknown {
public:
    Outer() = default;
    // With an object of the class inside.
    explicit Outer(REFCLSID clsid) {
        EXPECT_EQ(CoCreateInstance(clsid, this, CLSCTX_INPROC_SERVER, IID_IUnknown, Inner.PutVoid()), S_OK);
    }
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool own = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, kOuterOnly);
        if (!own && Inner) return Inner->QueryInterface(iid, object);
        *object = own ? this : nullptr;
        return own ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++References; }
    STDMETHODIMP_(ULONG) Release() override { return --References; }

    ULONG References = 1;
    com::ComPtr<IUnknown> Inner;
};

}  // namespace talvo::test
