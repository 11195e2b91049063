// The type information object: one type of a library, for late-bound calls on it. Members are not described beyond
// their names and identifiers.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <memory>

#include "platform/counted.h"
#include "platform/type_model.h"

namespace platform {

class TypeInfo final : public Counted<ITypeInfo> {
public:
    TypeInfo(std::shared_ptr<const Library> library, const TypeEntry& entry)
        : library_(std::move(library)), entry_(entry) {}

    STDMETHODIMP GetTypeAttr(TYPEATTR** attributes) override;
    STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR* attributes) override { CoTaskMemFree(attributes); }
    STDMETHODIMP GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override;
    STDMETHODIMP Invoke(PVOID instance, MEMBERID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* wrongArgument) override;

    STDMETHODIMP GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    STDMETHODIMP GetFuncDesc(UINT, FUNCDESC**) override { return E_NOTIMPL; }
    STDMETHODIMP GetVarDesc(UINT, VARDESC**) override { return E_NOTIMPL; }
    STDMETHODIMP GetNames(MEMBERID, BSTR*, UINT, UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetRefTypeOfImplType(UINT, HREFTYPE*) override { return E_NOTIMPL; }
    STDMETHODIMP GetImplTypeFlags(UINT, INT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetDocumentation(MEMBERID, BSTR*, BSTR*, DWORD*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetDllEntry(MEMBERID, INVOKEKIND, BSTR*, BSTR*, WORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetRefTypeInfo(HREFTYPE, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP AddressOfMember(MEMBERID, INVOKEKIND, PVOID*) override { return E_NOTIMPL; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, PVOID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMops(MEMBERID, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetContainingTypeLib(ITypeLib**, UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC*) override {}
    STDMETHODIMP_(void) ReleaseVarDesc(VARDESC*) override {}

private:
    const std::shared_ptr<const Library> library_;  // which owns the entry
    const TypeEntry& entry_;
};

// Calls a method of the virtual table that answers an HRESULT; false when its arguments find no room.
bool CallMethod(void* instance, SHORT slot, UINT count, const VARTYPE* types, VARIANTARG* const* values,
                HRESULT& answer);
// Calls a member of `entry` on the object whose virtual table `instance` points to.
HRESULT InvokeMember(const TypeEntry& entry, void* instance, MEMBERID id, WORD flags, DISPPARAMS& parameters,
                     VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument);

}  // namespace platform
