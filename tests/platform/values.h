// Values of VARIANTs in C++, and what counts its references.
#pragma once

#include <string>

#include "tests/support/registry_view.h"
#include "tests/support/variant.h"

namespace probe {

using namespace talvo::test;
using Text = WideText;
using Value = Variant;

class Counted final : public IUnknown {
public:
    LONG references = 1;
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
};

}  // namespace probe
