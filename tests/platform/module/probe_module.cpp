// A server for the tests of class objects: one class without members of its own, and the library of data/probe.idl as
// resource 1. It may be unloaded while nothing of it lives.
#include <windows.h>

#include <objbase.h>

#include <new>

#include "tests/platform/probe.h"

namespace {

LONG volatile live = 0;

class Thing final : public IUnknown {
public:
    Thing() { InterlockedIncrement(&live); }
    ~Thing() { InterlockedDecrement(&live); }
    Thing(const Thing&) = delete;
    Thing& operator=(const Thing&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

private:
    LONG volatile references_ = 1;
};

// One for all, and for as long as the module is loaded.
class Factory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown || riid == IID_IClassFactory ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        auto* const thing = new (std::nothrow) Thing;
        if (!thing) return E_OUTOFMEMORY;
        const HRESULT hr = thing->QueryInterface(riid, object);
        thing->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        return lock ? InterlockedIncrement(&live) : InterlockedDecrement(&live), S_OK;
    }
};

Factory factory;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    *ppv = nullptr;
    return rclsid == probe::kClass ? factory.QueryInterface(riid, ppv) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return live == 0 ? S_OK : S_FALSE; }
