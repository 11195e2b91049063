// See type_library.h. What a real library finds by hash is found by comparing here: libraries are small.
#include "platform/type_library.h"

#include <algorithm>
#include <new>

#include "platform/type_info.h"
#include "platform/wide_text.h"

namespace platform {
namespace {

// Calls `visit(entry, memberId, name)` for every name that can be looked for.
template <class Visit>
void VisitNames(const Library& library, Visit visit) {
    for (const TypeEntry* const entry : library.types) {
        visit(*entry, MEMBERID_NIL, entry->name);
        for (const Function& function : entry->functions) visit(*entry, function.id, function.name);
        for (const Variable& variable : entry->variables) visit(*entry, variable.id, variable.name);
    }
}

HRESULT GiveText(const std::u16string& text, BSTR* out) {
    if (!out || text.empty()) return S_OK;
    *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

void TakeBack(BSTR* out) {
    if (!out) return;
    SysFreeString(*out);
    *out = nullptr;
}

}  // namespace

HRESULT GiveDocumentation(const Library& library, const std::u16string& name, const std::u16string& help, BSTR* outName,
                          BSTR* outHelp, DWORD* outContext, BSTR* outFile) {
    for (BSTR* const out : {outName, outHelp, outFile}) {
        if (out) *out = nullptr;
    }
    if (outContext) *outContext = 0;
    HRESULT hr = GiveText(name, outName);
    if (SUCCEEDED(hr)) hr = GiveText(help, outHelp);
    if (SUCCEEDED(hr)) hr = GiveText(library.helpFile, outFile);
    if (SUCCEEDED(hr)) return S_OK;
    for (BSTR* const out : {outName, outHelp, outFile}) TakeBack(out);
    return hr;
}

HRESULT TypeLibrary::Create(std::shared_ptr<const Library> data, TypeLibrary** library) {
    *library = new (std::nothrow) TypeLibrary(std::move(data));
    return *library ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP TypeLibrary::QueryInterface(REFIID riid, void** object) {
    if (!object) return E_POINTER;
    const bool known = riid == IID_IUnknown || riid == IID_ITypeLib;
    *object = known ? static_cast<ITypeLib*>(this) : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) TypeLibrary::AddRef() { return static_cast<ULONG>(InterlockedIncrement(&references_)); }

STDMETHODIMP_(ULONG) TypeLibrary::Release() {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

STDMETHODIMP_(UINT) TypeLibrary::GetTypeInfoCount() { return static_cast<UINT>(data_->types.size()); }

STDMETHODIMP TypeLibrary::GetTypeInfo(UINT index, ITypeInfo** info) {
    if (!info) return E_INVALIDARG;
    if (index >= data_->types.size()) return TYPE_E_ELEMENTNOTFOUND;
    return TypeInfo::Create(this, data_->types[index], false, info);
}

STDMETHODIMP TypeLibrary::GetTypeInfoType(UINT index, TYPEKIND* kind) {
    if (!kind) return E_INVALIDARG;
    if (index >= data_->types.size()) return TYPE_E_ELEMENTNOTFOUND;
    *kind = data_->types[index]->kind;
    return S_OK;
}

STDMETHODIMP TypeLibrary::GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) {
    if (!info) return E_INVALIDARG;
    const auto found = std::find_if(data_->types.begin(), data_->types.end(),
                                    [&](const TypeEntry* entry) { return entry->guid == guid; });
    if (found == data_->types.end()) return TYPE_E_ELEMENTNOTFOUND;
    return TypeInfo::Create(this, *found, false, info);
}

STDMETHODIMP TypeLibrary::GetLibAttr(TLIBATTR** attributes) {
    if (!attributes) return E_INVALIDARG;
    *attributes = static_cast<TLIBATTR*>(CoTaskMemAlloc(sizeof(TLIBATTR)));
    if (!*attributes) return E_OUTOFMEMORY;
    **attributes = {data_->guid, data_->lcid, SYS_WIN64, data_->majorVersion, data_->minorVersion, data_->flags};
    return S_OK;
}

STDMETHODIMP TypeLibrary::GetTypeComp(ITypeComp** comp) {
    if (comp) *comp = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP TypeLibrary::GetDocumentation(INT index, BSTR* name, BSTR* help, DWORD* context, BSTR* file) {
    if (index < 0) {
        return GiveDocumentation(*data_, data_->name, data_->help, name, help, context, file);
    }
    if (static_cast<size_t>(index) >= data_->types.size()) return TYPE_E_ELEMENTNOTFOUND;
    const TypeEntry& entry = *data_->types[static_cast<size_t>(index)];
    return GiveDocumentation(*data_, entry.name, entry.help, name, help, context, file);
}

// Parameters count as names here, but not in FindName. The caller's spelling is replaced by the library's.
STDMETHODIMP TypeLibrary::IsName(LPOLESTR name, ULONG, BOOL* found) {
    if (!name || !found) return E_INVALIDARG;
    const std::u16string_view wanted(name);
    *found = FALSE;
    const auto compare = [&](const std::u16string& candidate) {
        if (*found || !SameName(candidate, wanted)) return;
        *found = TRUE;
        std::copy(candidate.begin(), candidate.end(), name);
    };
    VisitNames(*data_, [&](const TypeEntry&, MEMBERID, const std::u16string& candidate) { compare(candidate); });
    for (const TypeEntry* const entry : data_->types) {
        for (const Function& function : entry->functions) {
            for (const Parameter& parameter : function.parameters) compare(parameter.name);
        }
    }
    return S_OK;
}

STDMETHODIMP TypeLibrary::FindName(LPOLESTR name, ULONG, ITypeInfo** infos, MEMBERID* ids, USHORT* count) {
    if (!name || !infos || !ids || !count) return E_INVALIDARG;
    const std::u16string_view wanted(name);
    const USHORT room = *count;
    HRESULT hr = S_OK;
    const TypeEntry* last = nullptr;  // one hit a type
    *count = 0;
    VisitNames(*data_, [&](const TypeEntry& entry, MEMBERID id, const std::u16string& candidate) {
        if (FAILED(hr) || *count == room || last == &entry || !SameName(candidate, wanted)) return;
        hr = TypeInfo::Create(this, &entry, false, &infos[*count]);
        if (FAILED(hr)) return;
        last = &entry;
        ids[(*count)++] = id;
    });
    if (SUCCEEDED(hr)) return S_OK;
    while (*count != 0) infos[--*count]->Release();
    return hr;
}

STDMETHODIMP_(void) TypeLibrary::ReleaseTLibAttr(TLIBATTR* attributes) { CoTaskMemFree(attributes); }

}  // namespace platform
