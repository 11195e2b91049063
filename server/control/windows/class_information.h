// What a container asks of the class: its description, its outgoing interfaces and property pages, of which it has none.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "com/object.h"

namespace talvo {

class ClassInformation final : public com::Facet<IProvideClassInfo2, IConnectionPointContainer, ISpecifyPropertyPages> {
public:
    explicit ClassInformation(IUnknown& object) noexcept : Facet(object) {}
    IUnknown* Find(REFIID iid) noexcept {
        return FindAmong<IProvideClassInfo2, IProvideClassInfo, IConnectionPointContainer, ISpecifyPropertyPages>(this,
                                                                                                                  iid);
    }

    // IProvideClassInfo2
    STDMETHODIMP GetClassInfo(ITypeInfo** info) noexcept override;
    STDMETHODIMP GetGUID(DWORD kind, GUID* guid) noexcept override;
    // IConnectionPointContainer
    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) noexcept override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) noexcept override;
    // ISpecifyPropertyPages
    STDMETHODIMP GetPages(CAUUID* pages) noexcept override;
};

}  // namespace talvo
