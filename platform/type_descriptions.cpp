// Descriptions of types and members in the structures that type information hands out. Each is one block of task memory,
// measured before it is filled, so that releasing it is one call. Default values in it stay the library's.
#include <algorithm>
#include <cstring>

#include "platform/type_info.h"

namespace platform {
namespace {

constexpr WORD kDispatchTableSize = 7 * sizeof(void*);

// Parts of one zeroed block, handed out one after the other.
class Block {
public:
    explicit Block(size_t size) : begin_(static_cast<BYTE*>(CoTaskMemAlloc(size))), next_(begin_) {
        if (begin_) std::memset(begin_, 0, size);
    }
    explicit operator bool() const { return begin_ != nullptr; }

    template <class Part>
    Part* Take(size_t count = 1) {
        static_assert(sizeof(Part) % alignof(void*) == 0);
        Part* const part = reinterpret_cast<Part*>(next_);
        next_ += count * sizeof(Part);
        return part;
    }

private:
    BYTE* begin_;
    BYTE* next_;
};

size_t SizeOfUse(const TypeUse& use) {
    return use.pointers * sizeof(TYPEDESC) + (use.elements != 0 ? sizeof(ARRAYDESC) : 0);
}

void DescribeUse(const TypeUse& use, const Library& from, Block& block, TYPEDESC* description) {
    if (use.elements != 0) {
        ARRAYDESC* const array = block.Take<ARRAYDESC>();
        array->cDims = 1;
        array->rgbounds[0].cElements = use.elements;
        description->vt = VT_CARRAY;
        description->lpadesc = array;
        description = &array->tdescElem;
    }
    for (BYTE i = 0; i < use.pointers; ++i) {
        description->vt = VT_PTR;
        description->lptdesc = block.Take<TYPEDESC>();
        description = description->lptdesc;
    }
    description->vt = use.base;
    if (use.base == VT_USERDEFINED) description->hreftype = ReferenceTo(use.target, from, false);
}

void DescribeParameter(const Parameter& parameter, const Library& from, Block& block, ELEMDESC* description) {
    DescribeUse(parameter.type, from, block, &description->tdesc);
    description->paramdesc.wParamFlags = parameter.flags;
}

// What a dispatch member gives back: what its retval points to, or nothing; the HRESULT becomes an exception.
TypeUse DispatchResult(const Function& function) {
    TypeUse result = function.result;
    if (result.base != VT_HRESULT || result.pointers != 0) return result;
    result.base = VT_VOID;
    if (!function.GivesResult()) return result;
    result = function.parameters.back().type;
    --result.pointers;
    return result;
}

}  // namespace

HRESULT DescribeType(const TypeEntry& entry, bool dispatch, TYPEATTR** attributes) {
    Block block(sizeof(TYPEATTR));
    if (!block) return E_OUTOFMEMORY;
    TYPEATTR* const out = block.Take<TYPEATTR>();
    out->guid = entry.guid;
    out->lcid = entry.library->lcid;
    out->memidConstructor = MEMBERID_NIL;
    out->memidDestructor = MEMBERID_NIL;
    out->cbSizeInstance = entry.size;
    out->typekind = entry.kind == TKIND_DISPATCH && !dispatch ? TKIND_INTERFACE : entry.kind;
    out->cFuncs = dispatch ? static_cast<WORD>(entry.slots) : static_cast<WORD>(entry.functions.size());
    out->cVars = static_cast<WORD>(entry.variables.size());
    out->cImplTypes = entry.kind == TKIND_COCLASS ? static_cast<WORD>(entry.implementations.size())
                                                  : static_cast<WORD>(entry.base ? 1 : 0);
    out->cbSizeVft = dispatch ? kDispatchTableSize : static_cast<WORD>(entry.slots * static_cast<int>(sizeof(void*)));
    out->cbAlignment = entry.alignment;
    out->wTypeFlags = entry.flags;
    if (dispatch) out->wTypeFlags &= static_cast<WORD>(~TYPEFLAG_FOLEAUTOMATION);
    out->wMajorVerNum = entry.majorVersion;
    out->wMinorVerNum = entry.minorVersion;
    *attributes = out;
    return S_OK;
}

HRESULT DescribeFunction(const Function& function, const Library& from, bool dispatch, FUNCDESC** description) {
    const TypeUse result = dispatch ? DispatchResult(function) : function.result;
    const size_t count = function.parameters.size() - (dispatch && function.GivesResult() ? 1 : 0);
    size_t size = sizeof(FUNCDESC) + count * sizeof(ELEMDESC) + SizeOfUse(result);
    for (size_t i = 0; i < count; ++i) {
        size += SizeOfUse(function.parameters[i].type);
    }
    Block block(size);
    if (!block) return E_OUTOFMEMORY;
    FUNCDESC* const out = block.Take<FUNCDESC>();
    out->memid = function.id;
    out->lprgelemdescParam = count != 0 ? block.Take<ELEMDESC>(count) : nullptr;
    out->funckind = dispatch ? FUNC_DISPATCH : FUNC_PUREVIRTUAL;
    out->invkind = function.kind;
    out->callconv = CC_STDCALL;
    out->cParams = static_cast<SHORT>(count);
    out->oVft = static_cast<SHORT>(function.slot * static_cast<int>(sizeof(void*)));
    out->wFuncFlags = function.flags;
    DescribeUse(result, from, block, &out->elemdescFunc.tdesc);
    for (size_t i = 0; i < count; ++i) {
        DescribeParameter(function.parameters[i], from, block, &out->lprgelemdescParam[i]);
    }
    *description = out;
    return S_OK;
}

HRESULT DescribeVariable(const Variable& variable, const Library& from, VARDESC** description) {
    Block block(sizeof(VARDESC) + SizeOfUse(variable.type) + sizeof(VARIANT));
    if (!block) return E_OUTOFMEMORY;
    VARDESC* const out = block.Take<VARDESC>();
    out->memid = variable.id;
    DescribeUse(variable.type, from, block, &out->elemdescVar.tdesc);
    out->varkind = variable.constant ? VAR_CONST : VAR_PERINSTANCE;
    if (variable.constant) {
        out->lpvarValue = block.Take<VARIANT>();
        out->lpvarValue->vt = VT_I4;
        out->lpvarValue->lVal = variable.value;
    } else {
        out->oInst = variable.offset;
    }
    *description = out;
    return S_OK;
}

}  // namespace platform
