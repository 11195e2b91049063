// The type library object, over the data of a record: it leads to type information by identifier.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <memory>

#include "platform/counted.h"
#include "platform/type_model.h"

namespace platform {

class TypeLibrary final : public Counted<ITypeLib> {
public:
    explicit TypeLibrary(std::shared_ptr<const Library> data) : data_(std::move(data)) {}

    STDMETHODIMP_(UINT) GetTypeInfoCount() override { return static_cast<UINT>(data_->types.size()); }
    STDMETHODIMP GetTypeInfo(UINT index, ITypeInfo** info) override;
    STDMETHODIMP GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) override;
    STDMETHODIMP GetLibAttr(TLIBATTR** attributes) override;
    STDMETHODIMP_(void) ReleaseTLibAttr(TLIBATTR* attributes) override { CoTaskMemFree(attributes); }

    STDMETHODIMP GetTypeInfoType(UINT, TYPEKIND*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    STDMETHODIMP GetDocumentation(INT, BSTR*, BSTR*, DWORD*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP IsName(LPOLESTR, ULONG, BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT*) override { return E_NOTIMPL; }

    const Library& Data() const { return *data_; }

private:
    const std::shared_ptr<const Library> data_;
};

}  // namespace platform
