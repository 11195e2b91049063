// Saving and loading the control with its form: as a stream, a storage, or a property bag.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "com/object.h"
#include "server/control/windows/presentation.h"

namespace talvo {

class Persistence final : public com::Facet<IPersistStreamInit, IPersistStream, IPersistStorage, IPersistPropertyBag> {
public:
    Persistence(IUnknown& object, Presentation& presentation) noexcept : Facet(object), presentation_(presentation) {}
    IUnknown* Find(REFIID iid) noexcept;

    // All of them
    STDMETHODIMP GetClassID(CLSID* clsid) noexcept override;
    STDMETHODIMP IsDirty() noexcept override;
    // IPersistStreamInit, IPersistStream, IPersistPropertyBag
    STDMETHODIMP InitNew() noexcept override;
    STDMETHODIMP Load(IStream* stream) noexcept override;
    STDMETHODIMP Save(IStream* stream, BOOL clearDirty) noexcept override;
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER* size) noexcept override;
    STDMETHODIMP Load(IPropertyBag* bag, IErrorLog* log) noexcept override;
    STDMETHODIMP Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) noexcept override;
    // IPersistStorage. Nothing of a storage is held beyond a call.
    STDMETHODIMP InitNew(IStorage* storage) noexcept override;
    STDMETHODIMP Load(IStorage* storage) noexcept override;
    STDMETHODIMP Save(IStorage* storage, BOOL sameAsLoad) noexcept override;
    STDMETHODIMP SaveCompleted(IStorage* storage) noexcept override;
    STDMETHODIMP HandsOffStorage() noexcept override;

private:
    Presentation& presentation_;
    BOOL savedAsLoaded_ = FALSE;
};

}  // namespace talvo
