// A part of an object that implements some of its interfaces. Identity, counting and lookup are the object's, whose
// Find must answer with the interfaces of its facets.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include "com/lookup.h"

namespace com {

template <class... Interfaces>
class Facet : public Interfaces..., protected Lookup {
public:
    Facet(const Facet&) = delete;
    Facet& operator=(const Facet&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept final {
        return object_.QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept final { return object_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept final { return object_.Release(); }

protected:
    // `object` is any interface of the whole object, which holds the facet; it is not counted.
    explicit Facet(IUnknown& object) noexcept : object_(object) {}
    ~Facet() = default;

private:
    IUnknown& object_;
};

}  // namespace com
