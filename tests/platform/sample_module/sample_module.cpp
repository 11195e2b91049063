// A module with a message table, a resource that is no type library, and a class, for the tests of the stand-in. It may
// be unloaded while nobody refers to its object.
#include "tests/platform/sample_module/sample_module.h"

#include <objbase.h>

#include <platform_image.h>

namespace {

const PlatformMessage kMessages[] = {{2, "Ours before the system's."}};
const PlatformResource kResources[] = {
    {u"TypeLib", 1, "library", 7},
    {MAKEINTRESOURCEW(11), 1, kMessages, sizeof kMessages},
};

// The class object, which is the only object of its class too.
class Sample final : public IClassFactory {
public:
    LONG volatile references = 0;
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown || riid == IID_IClassFactory ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references)); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(InterlockedDecrement(&references)); }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID riid, void** object) override { return QueryInterface(riid, object); }
    STDMETHODIMP LockServer(BOOL) override { return E_NOTIMPL; }
};

Sample sample;

}  // namespace

const PlatformImage platform_image = {kResources, 2};

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    return rclsid == kSampleClass ? sample.QueryInterface(riid, ppv) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return sample.references == 0 ? S_OK : S_FALSE; }
