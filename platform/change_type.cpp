// VariantChangeType, to what an argument of a late-bound call can be: a 16- or 32-bit integer, a truth, a text or an object.
// Numbers pass through a double, which is exact for all of these.
#include <oleauto.h>

#include <math.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "platform/last_error.h"
#include "platform/number_text.h"
#include "platform/variant.h"

namespace {

constexpr VARTYPE kByteArray = VT_ARRAY | VT_UI1;

struct IntegerType {
    VARTYPE vt;
    int bits;
    bool isSigned;
};
constexpr IntegerType kIntegers[] = {
    {VT_I1, 8, true},    {VT_UI1, 8, false}, {VT_I2, 16, true},    {VT_UI2, 16, false}, {VT_I4, 32, true},
    {VT_UI4, 32, false}, {VT_INT, 32, true}, {VT_UINT, 32, false}, {VT_I8, 64, true},   {VT_UI8, 64, false},
};

const IntegerType* IntegerOf(VARTYPE vt) {
    for (const IntegerType& type : kIntegers) {
        if (type.vt == vt) return &type;
    }
    return nullptr;
}

// The value with its sign, or the bits of an unsigned one.
LONGLONG BitsOf(const VARIANT& source, const IntegerType& type) {
    switch (type.bits) {
        case 8:
            return type.isSigned ? static_cast<signed char>(source.cVal) : source.bVal;
        case 16:
            return type.isSigned ? source.iVal : source.uiVal;
        case 32:
            return type.isSigned ? source.lVal : LONGLONG{source.ulVal};
        default:
            return source.llVal;
    }
}

std::u16string_view TextOf(BSTR text) { return text ? std::u16string_view(text, SysStringLen(text)) : u""; }

HRESULT ToNumber(const VARIANT& source, double* out) {
    if (const IntegerType* type = IntegerOf(source.vt)) {
        const LONGLONG bits = BitsOf(source, *type);
        return *out = type->isSigned ? static_cast<double>(bits) : static_cast<double>(static_cast<ULONGLONG>(bits)),
               S_OK;
    }
    switch (source.vt) {
        case VT_EMPTY:
            return *out = 0, S_OK;
        case VT_BOOL:
            return *out = source.boolVal, S_OK;
        case VT_R4:
            return *out = double{source.fltVal}, S_OK;
        case VT_R8:
            return *out = source.dblVal, S_OK;
        case VT_BSTR:
            return platform::ParseNumber(TextOf(source.bstrVal), out);
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

HRESULT StoreInteger(const VARIANT& source, const IntegerType& type, VARIANT* target) {
    double number = 0;
    if (const HRESULT hr = ToNumber(source, &number); FAILED(hr)) return hr;
    // Windows takes over the bits between two types of one width, and of a truth into any unsigned one: all of them are set.
    const IntegerType* from = IntegerOf(source.vt);
    if (from && from->bits == type.bits) return target->llVal = source.llVal, S_OK;
    if (source.vt == VT_BOOL && !type.isSigned) return target->llVal = source.boolVal, S_OK;
    const double rounded = nearbyint(number);  // half to even
    const double least = type.isSigned ? -ldexp(1, type.bits - 1) : 0;
    if (!(rounded >= least && rounded < least + ldexp(1, type.bits))) return DISP_E_OVERFLOW;
    target->llVal = static_cast<LONGLONG>(rounded);  // narrower ones are its low bytes
    return S_OK;
}

// The words for true and false. Text between number signs is what other programs write to files.
bool ParseTruth(std::u16string_view text, VARIANT_BOOL* out) {
    const auto isWord = [text](std::u16string_view word) {
        return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                          [](char16_t c, char16_t w) { return (c >= u'A' && c <= u'Z' ? c + 32 : c) == w; });
    };
    const bool truth = isWord(u"true") || text == u"#TRUE#";
    *out = truth ? VARIANT_TRUE : VARIANT_FALSE;
    return truth || isWord(u"false") || text == u"#FALSE#";
}

HRESULT StoreTruth(const VARIANT& source, VARIANT* target) {
    if (source.vt == VT_BSTR && ParseTruth(TextOf(source.bstrVal), &target->boolVal)) return S_OK;
    double number = 0;
    if (const HRESULT hr = ToNumber(source, &number); FAILED(hr)) return hr;
    target->boolVal = number != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

template <class... Number>
HRESULT StoreDigits(VARIANT* target, Number... number) {
    char digits[32];
    char16_t text[sizeof digits];
    char* const end = std::to_chars(digits, digits + sizeof digits, number...).ptr;
    std::transform(digits, end, text, [](char c) { return static_cast<char16_t>(c == 'e' ? 'E' : c); });
    target->bstrVal = SysAllocStringLen(text, static_cast<UINT>(end - digits));
    return target->bstrVal ? S_OK : E_OUTOFMEMORY;
}

HRESULT StoreText(const VARIANT& source, VARIANT* target) {
    const IntegerType* type = IntegerOf(source.vt);
    if (type && type->isSigned) return StoreDigits(target, BitsOf(source, *type));
    if (type) return StoreDigits(target, static_cast<ULONGLONG>(BitsOf(source, *type)));
    switch (source.vt) {
        case VT_EMPTY:
            target->bstrVal = SysAllocString(u"");
            return target->bstrVal ? S_OK : E_OUTOFMEMORY;
        case VT_BOOL:
            return StoreDigits(target, int{source.boolVal});
        case VT_R4:
        case VT_R8: {
            const double value = source.vt == VT_R4 ? double{source.fltVal} : source.dblVal;
            const int precision = source.vt == VT_R4 ? 7 : 15;
            return StoreDigits(target, value == 0 ? 0.0 : value, std::chars_format::general, precision);
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

HRESULT StoreObject(const VARIANT& source, VARTYPE vt, VARIANT* target) {
    if (source.vt != VT_UNKNOWN && source.vt != VT_DISPATCH) return DISP_E_TYPEMISMATCH;
    target->punkVal = nullptr;
    if (!source.punkVal) return S_OK;
    const IID& wanted = vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
    return source.punkVal->QueryInterface(wanted, &target->byref);
}

HRESULT TextFromBytes(SAFEARRAY* array, VARIANT* target) {
    void* data = nullptr;
    if (SafeArrayGetDim(array) != 1) return DISP_E_TYPEMISMATCH;
    if (const HRESULT hr = SafeArrayAccessData(array, &data); FAILED(hr)) return hr;
    target->bstrVal = SysAllocStringByteLen(static_cast<LPCSTR>(data), array->rgsabound[0].cElements);
    SafeArrayUnaccessData(array);
    return target->bstrVal ? S_OK : E_OUTOFMEMORY;
}

// `source` is no reference and not of the type asked for. `target` gets the content; the caller sets its type.
HRESULT Convert(const VARIANT& source, VARTYPE vt, VARIANT* target) {
    if (source.vt == kByteArray && vt == VT_BSTR) return TextFromBytes(source.parray, target);
    if (source.vt & ~VT_TYPEMASK) return DISP_E_TYPEMISMATCH;
    if (vt == VT_DISPATCH || vt == VT_UNKNOWN) return StoreObject(source, vt, target);
    if (vt == VT_BSTR) return StoreText(source, target);
    if (vt == VT_BOOL) return StoreTruth(source, target);
    const IntegerType* type = IntegerOf(vt);
    return type && (type->bits == 16 || type->bits == 32) ? StoreInteger(source, *type, target) : DISP_E_TYPEMISMATCH;
}

}  // namespace

// The destination keeps its content on failure, and may be the source.
HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) {
    if (wFlags != 0) return E_INVALIDARG;
    if (const HRESULT hr = platform::CheckType(pvarSrc->vt); FAILED(hr)) return hr;
    if (const HRESULT hr = platform::CheckType(vt); FAILED(hr) || vt == VT_CLSID) return DISP_E_BADVARTYPE;
    if (V_ISBYREF(pvarSrc) && !pvarSrc->byref) return DISP_E_TYPEMISMATCH;
    VARIANT source = {};
    VARIANT target = {};
    if (const HRESULT hr = VariantCopyInd(&source, pvarSrc); FAILED(hr)) return hr;
    HRESULT hr = S_OK;
    if (source.vt == vt) {
        target = source;
        source.vt = VT_EMPTY;
    } else {
        hr = platform::OrOutOfMemory([&] { return Convert(source, vt, &target); });
        if (SUCCEEDED(hr)) target.vt = vt;
    }
    VariantClear(&source);
    if (SUCCEEDED(hr)) hr = VariantClear(pvargDest);
    if (FAILED(hr)) return VariantClear(&target), hr;
    *pvargDest = target;
    if (vt == VT_BSTR && !target.bstrVal) return pvargDest->bstrVal = SysAllocString(u""), S_OK;
    return S_OK;
}
