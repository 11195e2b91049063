// The type library object, over the data of a parsed text.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <memory>

#include "platform/type_model.h"

namespace platform {

class TypeLibrary final : public ITypeLib {
public:
    static HRESULT Create(std::shared_ptr<const Library> data, TypeLibrary** library);

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP_(UINT) GetTypeInfoCount() override;
    STDMETHODIMP GetTypeInfo(UINT index, ITypeInfo** info) override;
    STDMETHODIMP GetTypeInfoType(UINT index, TYPEKIND* kind) override;
    STDMETHODIMP GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) override;
    STDMETHODIMP GetLibAttr(TLIBATTR** attributes) override;
    STDMETHODIMP GetTypeComp(ITypeComp** comp) override;
    STDMETHODIMP GetDocumentation(INT index, BSTR* name, BSTR* help, DWORD* context, BSTR* file) override;
    STDMETHODIMP IsName(LPOLESTR name, ULONG hash, BOOL* found) override;
    STDMETHODIMP FindName(LPOLESTR name, ULONG hash, ITypeInfo** infos, MEMBERID* ids, USHORT* count) override;
    STDMETHODIMP_(void) ReleaseTLibAttr(TLIBATTR* attributes) override;

    const Library& Data() const { return *data_; }

private:
    explicit TypeLibrary(std::shared_ptr<const Library> data) : data_(std::move(data)) {}
    ~TypeLibrary() = default;

    LONG references_ = 1;
    const std::shared_ptr<const Library> data_;
};

// Loads the library of a text, a module's resource or a file, without touching the registry.
HRESULT LoadLibraryText(std::string_view text, ITypeLib** library);
HRESULT LoadLibraryFile(const OLECHAR* file, ITypeLib** library);

// Name, help string and help file of one thing; help contexts are not offered. Null pointers are left alone; all or nothing is given.
HRESULT GiveDocumentation(const Library& library, const std::u16string& name, const std::u16string& help, BSTR* outName,
                          BSTR* outHelp, DWORD* outContext, BSTR* outFile);

}  // namespace platform
