// See type_info.h.
#include "platform/type_info.h"

#include <algorithm>
#include <new>

#include "platform/wide_text.h"

namespace platform {
namespace {

constexpr HREFTYPE kStandardReference = 0x40000000;
constexpr HREFTYPE kInterfaceSide = 1;
constexpr UINT kOtherSide = static_cast<UINT>(-1);  // in place of the index of an implemented type

// The type itself where it inherits from, or is, `IDispatch` of the standard library.
const TypeEntry* StandardDispatch(const TypeEntry* entry) {
    while (entry->level > 1) entry = entry->base;
    return entry;
}

// Parameters that a caller can name: the value of a property is not one of them, nor, seen as a dispatch member, is what
// is given back.
size_t NamedParameters(const Function& function, bool dispatch) {
    const bool puts = function.kind == INVOKE_PROPERTYPUT || function.kind == INVOKE_PROPERTYPUTREF;
    return function.parameters.size() - (puts || (dispatch && function.GivesResult()) ? 1 : 0);
}

// The first member of that name, its own ones first.
const Function* FindFunction(const TypeEntry* entry, std::u16string_view name) {
    for (; entry; entry = entry->base) {
        for (const Function& function : entry->functions) {
            if (SameName(function.name, name)) return &function;
        }
    }
    return nullptr;
}

HRESULT FindParameters(const Function& function, LPOLESTR* names, UINT count, MEMBERID* ids) {
    HRESULT hr = S_OK;
    for (UINT i = 0; i < count; ++i) {
        const auto begin = function.parameters.begin();
        const auto found = std::find_if(begin, function.parameters.end(),
                                        [&](const Parameter& p) { return SameName(p.name, names[i]); });
        ids[i] = found == function.parameters.end() ? DISPID_UNKNOWN : static_cast<MEMBERID>(found - begin);
        if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
}

}  // namespace

const Function* FindFunction(const TypeEntry* entry, MEMBERID id, const TypeEntry** owner) {
    for (; entry; entry = entry->base) {
        for (const Function& function : entry->functions) {
            if (function.id != id) continue;
            if (owner) *owner = entry;
            return &function;
        }
    }
    return nullptr;
}

const Variable* FindVariable(const TypeEntry* entry, MEMBERID id) {
    const auto found = std::find_if(entry->variables.begin(), entry->variables.end(),
                                    [id](const Variable& variable) { return variable.id == id; });
    return found == entry->variables.end() ? nullptr : &*found;
}

HREFTYPE ReferenceTo(const TypeEntry* entry, const Library& from, bool interfaceSide) {
    const HREFTYPE place = entry->library == &from ? 0 : kStandardReference;
    return place | entry->index << 1 | (interfaceSide ? kInterfaceSide : 0);
}

const TypeEntry* Referenced(HREFTYPE reference, const Library& from, bool& interfaceSide) {
    const Library* const library = reference & kStandardReference ? from.standard.get() : &from;
    const HREFTYPE index = (reference & ~kStandardReference) >> 1;
    if (!library || index >= library->types.size()) return nullptr;
    interfaceSide = (reference & kInterfaceSide) != 0;
    return library->types[index];
}

TypeInfo::TypeInfo(TypeLibrary* library, const TypeEntry* entry, bool interfaceSide)
    : library_(library), entry_(entry), interfaceSide_(interfaceSide) {
    library_->AddRef();
}

TypeInfo::~TypeInfo() { library_->Release(); }

HRESULT TypeInfo::Create(TypeLibrary* library, const TypeEntry* entry, bool interfaceSide, ITypeInfo** info) {
    *info = new (std::nothrow) TypeInfo(library, entry, interfaceSide);
    return *info ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP TypeInfo::QueryInterface(REFIID riid, void** object) {
    if (!object) return E_POINTER;
    const bool known = riid == IID_IUnknown || riid == IID_ITypeInfo;
    *object = known ? static_cast<ITypeInfo*>(this) : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) TypeInfo::AddRef() { return static_cast<ULONG>(InterlockedIncrement(&references_)); }

STDMETHODIMP_(ULONG) TypeInfo::Release() {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

STDMETHODIMP TypeInfo::GetTypeAttr(TYPEATTR** attributes) {
    return attributes ? DescribeType(*entry_, IsDispatch(), attributes) : E_INVALIDARG;
}

STDMETHODIMP TypeInfo::GetTypeComp(ITypeComp** comp) {
    if (comp) *comp = nullptr;
    return E_NOTIMPL;
}

// The dispatch side lists inherited members too, in the order of the virtual table.
const Function* TypeInfo::FunctionAt(UINT index) const {
    if (!IsDispatch()) return index < entry_->functions.size() ? &entry_->functions[index] : nullptr;
    if (index >= static_cast<UINT>(entry_->slots)) return nullptr;
    const TypeEntry* owner = entry_;
    while (owner->base && index < static_cast<UINT>(owner->base->slots)) owner = owner->base;
    return &owner->functions[index - (owner->base ? static_cast<UINT>(owner->base->slots) : 0)];
}

STDMETHODIMP TypeInfo::GetFuncDesc(UINT index, FUNCDESC** description) {
    if (!description) return E_INVALIDARG;
    const Function* const function = FunctionAt(index);
    return function ? DescribeFunction(*function, Data(), IsDispatch(), description) : TYPE_E_ELEMENTNOTFOUND;
}

STDMETHODIMP TypeInfo::GetVarDesc(UINT index, VARDESC** description) {
    if (!description) return E_INVALIDARG;
    if (index >= entry_->variables.size()) return TYPE_E_ELEMENTNOTFOUND;
    return DescribeVariable(entry_->variables[index], Data(), description);
}

STDMETHODIMP TypeInfo::GetNames(MEMBERID id, BSTR* names, UINT room, UINT* count) {
    if (!names || !count) return E_INVALIDARG;
    *count = 0;
    const Function* const function = FindFunction(entry_, id, nullptr);
    const Variable* const variable = function ? nullptr : FindVariable(entry_, id);
    if (!function && !variable) return TYPE_E_ELEMENTNOTFOUND;
    const size_t total = 1 + (function ? NamedParameters(*function, IsDispatch()) : 0);
    for (size_t i = 0; i < std::min<size_t>(room, total); ++i) {
        const std::u16string& name =
            i != 0 ? function->parameters[i - 1].name : (function ? function->name : variable->name);
        names[i] = SysAllocStringLen(name.data(), static_cast<UINT>(name.size()));
        if (!names[i]) {
            while (*count != 0) SysFreeString(names[--*count]);
            return E_OUTOFMEMORY;
        }
        ++*count;
    }
    return S_OK;
}

STDMETHODIMP TypeInfo::GetRefTypeOfImplType(UINT index, HREFTYPE* reference) {
    if (!reference) return E_INVALIDARG;
    const TypeEntry* target = nullptr;
    bool interfaceSide = false;
    if (index == kOtherSide && entry_->kind == TKIND_DISPATCH) {
        target = entry_;
        interfaceSide = !interfaceSide_;
    } else if (entry_->kind == TKIND_COCLASS) {
        if (index < entry_->implementations.size()) target = entry_->implementations[index].type;
    } else if (index == 0 && entry_->base) {
        target = IsDispatch() ? StandardDispatch(entry_) : entry_->base;
        interfaceSide = target->kind == TKIND_DISPATCH;
    }
    if (!target) return TYPE_E_ELEMENTNOTFOUND;
    *reference = ReferenceTo(target, Data(), interfaceSide);
    return S_OK;
}

STDMETHODIMP TypeInfo::GetImplTypeFlags(UINT index, INT* flags) {
    if (!flags) return E_INVALIDARG;
    *flags = 0;
    if (entry_->kind != TKIND_COCLASS) return index == 0 && entry_->base ? S_OK : TYPE_E_ELEMENTNOTFOUND;
    if (index >= entry_->implementations.size()) return TYPE_E_ELEMENTNOTFOUND;
    *flags = entry_->implementations[index].flags;
    return S_OK;
}

STDMETHODIMP TypeInfo::GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) {
    if (!names || !ids || count == 0) return E_INVALIDARG;
    std::fill_n(ids, count, DISPID_UNKNOWN);
    if (const Function* const function = FindFunction(entry_, std::u16string_view(names[0]))) {
        ids[0] = function->id;
        return FindParameters(*function, names + 1, count - 1, ids + 1);
    }
    for (const Variable& variable : entry_->variables) {
        if (!SameName(variable.name, names[0])) continue;
        ids[0] = variable.id;
        return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
    }
    return DISP_E_UNKNOWNNAME;
}

STDMETHODIMP TypeInfo::Invoke(PVOID instance, MEMBERID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                              EXCEPINFO* exception, UINT* wrongArgument) {
    if (!instance || !parameters) return E_INVALIDARG;
    return InvokeMember(*entry_, instance, id, flags, *parameters, result, exception, wrongArgument);
}

STDMETHODIMP TypeInfo::GetDocumentation(MEMBERID id, BSTR* name, BSTR* help, DWORD* context, BSTR* file) {
    if (id == MEMBERID_NIL) {
        return GiveDocumentation(Data(), entry_->name, entry_->help, name, help, context, file);
    }
    const TypeEntry* owner = entry_;
    if (const Function* const f = FindFunction(entry_, id, &owner)) {
        return GiveDocumentation(*owner->library, f->name, f->help, name, help, context, file);
    }
    const Variable* const variable = FindVariable(entry_, id);
    if (!variable) return TYPE_E_ELEMENTNOTFOUND;
    return GiveDocumentation(Data(), variable->name, variable->help, name, help, context, file);
}

// Functions of modules and their addresses: no library here describes a module.
STDMETHODIMP TypeInfo::GetDllEntry(MEMBERID, INVOKEKIND, BSTR*, BSTR*, WORD*) { return TYPE_E_BADMODULEKIND; }

STDMETHODIMP TypeInfo::AddressOfMember(MEMBERID, INVOKEKIND, PVOID* address) {
    if (address) *address = nullptr;
    return TYPE_E_BADMODULEKIND;
}

STDMETHODIMP TypeInfo::GetRefTypeInfo(HREFTYPE reference, ITypeInfo** info) {
    if (!info) return E_INVALIDARG;
    *info = nullptr;
    bool interfaceSide = false;
    const TypeEntry* const target = Referenced(reference, Data(), interfaceSide);
    if (!target) return TYPE_E_ELEMENTNOTFOUND;
    if (target->library == &Data()) return Create(library_, target, interfaceSide, info);
    TypeLibrary* standard = nullptr;
    if (const HRESULT hr = TypeLibrary::Create(Data().standard, &standard); FAILED(hr)) return hr;
    const HRESULT hr = Create(standard, target, interfaceSide, info);
    standard->Release();
    return hr;
}

STDMETHODIMP TypeInfo::CreateInstance(IUnknown* outer, REFIID riid, PVOID* object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (entry_->kind != TKIND_COCLASS || !(entry_->flags & TYPEFLAG_FCANCREATE)) return TYPE_E_WRONGTYPEKIND;
    return CoCreateInstance(entry_->guid, outer, CLSCTX_INPROC_SERVER, riid, object);
}

// Marshalling opcodes: in-process calls have none.
STDMETHODIMP TypeInfo::GetMops(MEMBERID, BSTR* text) {
    if (!text) return E_INVALIDARG;
    *text = nullptr;
    return S_OK;
}

STDMETHODIMP TypeInfo::GetContainingTypeLib(ITypeLib** library, UINT* index) {
    if (!library && !index) return E_INVALIDARG;
    if (library) {
        *library = library_;
        library_->AddRef();
    }
    if (index) *index = entry_->index;
    return S_OK;
}

STDMETHODIMP_(void) TypeInfo::ReleaseTypeAttr(TYPEATTR* attributes) { CoTaskMemFree(attributes); }
STDMETHODIMP_(void) TypeInfo::ReleaseFuncDesc(FUNCDESC* description) { CoTaskMemFree(description); }
STDMETHODIMP_(void) TypeInfo::ReleaseVarDesc(VARDESC* description) { CoTaskMemFree(description); }

}  // namespace platform
