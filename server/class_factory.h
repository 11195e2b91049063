// The one class factory, shared by all classes: a row of the class table tells it what to build.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace talvo {

struct ClassEntry;

// The class table holds one reference for the life of the module; references beyond that one keep the module loaded.
class ClassFactory final : public IClassFactory {
public:
    explicit ClassFactory(const ClassEntry& entry) noexcept : entry_(entry) {}
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;

    // E_POINTER, CLASS_E_NOAGGREGATION for an outer object with any interface but IUnknown, else the class's own
    // answer.
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override;
    STDMETHODIMP LockServer(BOOL lock) noexcept override;

private:
    const ClassEntry& entry_;
    LONG volatile references_ = 1;
};

// DllGetClassObject: finds the class, makes its factory on first use and asks it for `iid`.
HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept;

// Module stop: gives up the table's references.
void ReleaseClassFactories() noexcept;

}  // namespace talvo
