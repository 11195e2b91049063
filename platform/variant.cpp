// VARIANT: clearing and copying by type. Conversions are in change_type.cpp.
#include "platform/variant.h"

#include <string.h>

namespace {

constexpr VARTYPE kExtra = VT_VECTOR | VT_ARRAY | VT_BYREF | VT_RESERVED;

bool IsObject(VARTYPE vt) { return vt == VT_UNKNOWN || vt == VT_DISPATCH; }

HRESULT CopyString(VARIANT* target, BSTR source) {
    target->bstrVal =
        source ? SysAllocStringByteLen(reinterpret_cast<LPCSTR>(source), SysStringByteLen(source)) : nullptr;
    return source && !target->bstrVal ? E_OUTOFMEMORY : S_OK;
}

// Gives `target`, a bitwise copy, what it points to for itself. A failure leaves it empty.
HRESULT OwnContent(VARIANT* target) {
    HRESULT hr = S_OK;
    if (V_ISBYREF(target)) return hr;
    if (V_ISARRAY(target)) {
        hr = SafeArrayCopy(target->parray, &target->parray);
    } else if (target->vt == VT_BSTR) {
        hr = CopyString(target, target->bstrVal);
    } else if (IsObject(target->vt) && target->punkVal) {
        target->punkVal->AddRef();
    }
    if (FAILED(hr)) target->vt = VT_EMPTY;
    return hr;
}

// The value behind a reference that is not to a VARIANT, still owned by whoever owns it.
VARIANT Referenced(const VARIANT* source) {
    VARIANT value = {};
    if (source->vt == (VT_BYREF | VT_DECIMAL)) {
        value.decVal = *source->pdecVal;  // fills the whole variant, so the type comes last
    } else {
        memcpy(&value.llVal, source->byref,
               V_ISARRAY(source) ? sizeof(void*) : platform::TypeSize(source->vt & VT_TYPEMASK));
    }
    value.vt = source->vt & static_cast<VARTYPE>(~VT_BYREF);
    return value;
}

HRESULT CopyReferenced(VARIANT* target, const VARIANT* source) {
    if (source->vt != (VT_BYREF | VT_VARIANT)) {
        *target = Referenced(source);
        return OwnContent(target);
    }
    if (source->pvarVal->vt == (VT_BYREF | VT_VARIANT)) return E_INVALIDARG;  // one level only
    return VariantCopyInd(target, source->pvarVal);
}

}  // namespace

namespace platform {

ULONG TypeSize(VARTYPE vt) {
    switch (vt) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
            return 8;
        case VT_BSTR:
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return sizeof(void*);
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 0;
    }
}

HRESULT CheckType(VARTYPE vt) {
    const VARTYPE base = vt & VT_TYPEMASK;
    if (vt & (VT_VECTOR | VT_RESERVED)) return DISP_E_BADVARTYPE;
    if ((vt & kExtra) && base <= VT_NULL) return DISP_E_BADVARTYPE;
    return (base < VT_VOID && base != 15) || base == VT_CLSID ? S_OK : DISP_E_BADVARTYPE;
}

}  // namespace platform

using platform::CheckType;

void VariantInit(VARIANTARG* pvarg) { pvarg->vt = VT_EMPTY; }

HRESULT VariantClear(VARIANTARG* pvarg) {
    if (const HRESULT hr = CheckType(pvarg->vt); FAILED(hr)) return hr;
    if (!V_ISBYREF(pvarg)) {
        if (V_ISARRAY(pvarg)) {
            if (const HRESULT hr = SafeArrayDestroy(pvarg->parray); FAILED(hr)) return hr;
        } else if (pvarg->vt == VT_BSTR) {
            SysFreeString(pvarg->bstrVal);
        } else if (IsObject(pvarg->vt) && pvarg->punkVal) {
            pvarg->punkVal->Release();
        }
    }
    pvarg->vt = VT_EMPTY;
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG* pvargDest, VARIANTARG* pvargSrc) {
    if ((pvargSrc->vt & VT_TYPEMASK) == VT_CLSID) return DISP_E_BADVARTYPE;
    if (const HRESULT hr = CheckType(pvargSrc->vt); FAILED(hr)) return hr;
    if (pvargDest == pvargSrc) return S_OK;
    if (const HRESULT hr = VariantClear(pvargDest); FAILED(hr)) return hr;
    *pvargDest = *pvargSrc;
    return OwnContent(pvargDest);
}

// The source may be the destination, or lie behind it: the copy is complete before anything is cleared.
HRESULT VariantCopyInd(VARIANT* pvarDest, VARIANTARG* pvargSrc) {
    if (!V_ISBYREF(pvargSrc)) return VariantCopy(pvarDest, pvargSrc);
    if (CheckType(pvargSrc->vt) != S_OK || (pvargSrc->vt & VT_TYPEMASK) == VT_CLSID) return E_INVALIDARG;
    VARIANT copy = {};
    if (const HRESULT hr = CopyReferenced(&copy, pvargSrc); FAILED(hr)) return hr;
    if (const HRESULT hr = VariantClear(pvarDest); FAILED(hr)) return VariantClear(&copy), hr;
    *pvarDest = copy;
    return S_OK;
}
