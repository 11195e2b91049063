// The type information object: one type of a library. A dual interface has two: its dispatch side, which lists all members as
// a late-bound caller sees them, and its interface side, which lists its own members as the virtual table has them.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include "platform/type_library.h"

namespace platform {

class TypeInfo final : public ITypeInfo {
public:
    static HRESULT Create(TypeLibrary* library, const TypeEntry* entry, bool interfaceSide, ITypeInfo** info);

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetTypeAttr(TYPEATTR** attributes) override;
    STDMETHODIMP GetTypeComp(ITypeComp** comp) override;
    STDMETHODIMP GetFuncDesc(UINT index, FUNCDESC** description) override;
    STDMETHODIMP GetVarDesc(UINT index, VARDESC** description) override;
    STDMETHODIMP GetNames(MEMBERID id, BSTR* names, UINT room, UINT* count) override;
    STDMETHODIMP GetRefTypeOfImplType(UINT index, HREFTYPE* reference) override;
    STDMETHODIMP GetImplTypeFlags(UINT index, INT* flags) override;
    STDMETHODIMP GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override;
    STDMETHODIMP Invoke(PVOID instance, MEMBERID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* wrongArgument) override;
    STDMETHODIMP GetDocumentation(MEMBERID id, BSTR* name, BSTR* help, DWORD* context, BSTR* file) override;
    STDMETHODIMP GetDllEntry(MEMBERID id, INVOKEKIND kind, BSTR* module, BSTR* name, WORD* ordinal) override;
    STDMETHODIMP GetRefTypeInfo(HREFTYPE reference, ITypeInfo** info) override;
    STDMETHODIMP AddressOfMember(MEMBERID id, INVOKEKIND kind, PVOID* address) override;
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, PVOID* object) override;
    STDMETHODIMP GetMops(MEMBERID id, BSTR* text) override;
    STDMETHODIMP GetContainingTypeLib(ITypeLib** library, UINT* index) override;
    STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR* attributes) override;
    STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC* description) override;
    STDMETHODIMP_(void) ReleaseVarDesc(VARDESC* description) override;

private:
    TypeInfo(TypeLibrary* library, const TypeEntry* entry, bool interfaceSide);
    ~TypeInfo();

    bool IsDispatch() const { return entry_->kind == TKIND_DISPATCH && !interfaceSide_; }
    const Library& Data() const { return library_->Data(); }
    const Function* FunctionAt(UINT index) const;

    LONG references_ = 1;
    TypeLibrary* const library_;
    const TypeEntry* const entry_;
    const bool interfaceSide_;
};

// A member by its identifier, its own ones before inherited ones; `owner` is the type that declares it.
const Function* FindFunction(const TypeEntry* entry, MEMBERID id, const TypeEntry** owner);
const Variable* FindVariable(const TypeEntry* entry, MEMBERID id);

// References between types: own and standard ones, and the interface side of a dual one.
HREFTYPE ReferenceTo(const TypeEntry* entry, const Library& from, bool interfaceSide);
const TypeEntry* Referenced(HREFTYPE reference, const Library& from, bool& interfaceSide);

// Descriptions, each one block of task memory.
HRESULT DescribeType(const TypeEntry& entry, bool dispatch, TYPEATTR** attributes);
HRESULT DescribeFunction(const Function& function, const Library& from, bool dispatch, FUNCDESC** description);
HRESULT DescribeVariable(const Variable& variable, const Library& from, VARDESC** description);

// Calls a method of the virtual table that answers an HRESULT; false when its arguments find no room.
bool CallMethod(void* instance, SHORT slot, UINT count, const VARTYPE* types, VARIANTARG* const* values,
                HRESULT& answer);
// Calls a member of `entry` on the object whose virtual table `instance` points to.
HRESULT InvokeMember(const TypeEntry& entry, void* instance, MEMBERID id, WORD flags, DISPPARAMS& parameters,
                     VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument);

}  // namespace platform
