// Names, identifiers and attributes of a type; the calls themselves are made in type_invoke.cpp.
#include "platform/type_info.h"

#include <algorithm>

#include "platform/wide_text.h"

namespace platform {
namespace {

// The first member of that name, the type's own ones first.
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
        const auto found = std::find_if(begin, function.parameters.end(), [&](const Parameter& parameter) {
            return !parameter.name.empty() && SameName(parameter.name, names[i]);
        });
        ids[i] = found == function.parameters.end() ? DISPID_UNKNOWN : static_cast<MEMBERID>(found - begin);
        if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
}

}  // namespace

STDMETHODIMP TypeInfo::GetTypeAttr(TYPEATTR** attributes) {
    if (!attributes) return E_INVALIDARG;
    *attributes = static_cast<TYPEATTR*>(CoTaskMemAlloc(sizeof(TYPEATTR)));
    if (!*attributes) return E_OUTOFMEMORY;
    TYPEATTR& out = ** attributes = {};
    out.guid = entry_.guid;
    out.lcid = library_->lcid;
    out.memidConstructor = MEMBERID_NIL;
    out.memidDestructor = MEMBERID_NIL;
    out.typekind = entry_.kind;
    out.cFuncs = static_cast<WORD>(entry_.functions.size());
    out.cbSizeVft = static_cast<WORD>(static_cast<size_t>(entry_.slots) * sizeof(void*));
    out.wTypeFlags = entry_.flags;
    out.wMajorVerNum = entry_.majorVersion;
    out.wMinorVerNum = entry_.minorVersion;
    return S_OK;
}

STDMETHODIMP TypeInfo::GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) {
    if (!names || !ids || count == 0) return E_INVALIDARG;
    std::fill_n(ids, count, DISPID_UNKNOWN);
    const Function* const function = FindFunction(&entry_, names[0]);
    if (!function) return DISP_E_UNKNOWNNAME;
    ids[0] = function->id;
    return FindParameters(*function, names + 1, count - 1, ids + 1);
}

STDMETHODIMP TypeInfo::Invoke(PVOID instance, MEMBERID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                              EXCEPINFO* exception, UINT* wrongArgument) {
    if (!instance || !parameters) return E_INVALIDARG;
    return InvokeMember(entry_, instance, id, flags, *parameters, result, exception, wrongArgument);
}

}  // namespace platform
