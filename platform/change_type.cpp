// VariantChangeType: every source becomes a Number, a text or an object, and that becomes the target type. Currency,
// date and decimal only convert to themselves, to nothing and to null.
#include <oleauto.h>

#include <float.h>
#include <math.h>

#include <iterator>
#include <string_view>

#include "platform/number_text.h"
#include "platform/variant.h"

namespace {

using platform::Number;
using platform::ParseNumber;

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

bool IsNumeric(VARTYPE vt) { return IntegerOf(vt) || vt == VT_R4 || vt == VT_R8 || vt == VT_BOOL; }

Number SignedNumber(LONGLONG value) {
    const auto bits = static_cast<ULONGLONG>(value);
    return {.whole = true, .negative = value < 0, .magnitude = value < 0 ? 0 - bits : bits, .real = 0};
}

Number IntegerFrom(const VARIANT& source, const IntegerType& type) {
    switch (type.bits) {
        case 8:
            return SignedNumber(type.isSigned ? static_cast<signed char>(source.cVal) : source.bVal);
        case 16:
            return SignedNumber(type.isSigned ? source.iVal : source.uiVal);
        case 32:
            return SignedNumber(type.isSigned ? source.lVal : LONGLONG{source.ulVal});
        default:
            if (type.isSigned) return SignedNumber(source.llVal);
            return {.whole = true, .negative = false, .magnitude = source.ullVal, .real = 0};
    }
}

// The words for true and false. Text between number signs is what other programs write to files.
bool ParseTruth(std::u16string_view text, VARIANT_BOOL* out) {
    const auto isWord = [text](std::u16string_view word) {
        if (text.size() != word.size()) return false;
        for (size_t i = 0; i < text.size(); ++i) {
            const char16_t c = text[i] >= u'A' && text[i] <= u'Z' ? static_cast<char16_t>(text[i] + 32) : text[i];
            if (c != word[i]) return false;
        }
        return true;
    };
    const bool truth = isWord(u"true") || text == u"#TRUE#";
    *out = truth ? VARIANT_TRUE : VARIANT_FALSE;
    return truth || isWord(u"false") || text == u"#FALSE#";
}

std::u16string_view TextOf(BSTR text) { return text ? std::u16string_view(text, SysStringLen(text)) : u""; }

HRESULT ToNumber(const VARIANT& source, bool wantWhole, Number* out) {
    if (const IntegerType* type = IntegerOf(source.vt)) return *out = IntegerFrom(source, *type), S_OK;
    switch (source.vt) {
        case VT_EMPTY:
            return *out = Number(), S_OK;
        case VT_BOOL:
            return *out = SignedNumber(source.boolVal), S_OK;
        case VT_R4:
        case VT_R8:
            out->whole = false;
            out->real = source.vt == VT_R4 ? double{source.fltVal} : source.dblVal;
            return S_OK;
        case VT_BSTR: {
            const std::u16string_view text = TextOf(source.bstrVal);
            return ParseNumber(text.data(), static_cast<UINT>(text.size()), wantWhole, out);
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

HRESULT StoreInteger(Number number, const IntegerType& type, VARIANT* target) {
    if (!number.whole) {
        if (const HRESULT hr = platform::RoundToWhole(number.real, &number); FAILED(hr)) return hr;
    }
    const ULONGLONG limit = ~0ULL >> (64 - type.bits + type.isSigned);
    const ULONGLONG most = !number.negative ? limit : type.isSigned ? limit + 1 : 0;
    if (number.magnitude > most) return DISP_E_OVERFLOW;
    target->ullVal = number.negative ? 0 - number.magnitude : number.magnitude;  // narrower ones are its low bytes
    return S_OK;
}

double RealOf(const Number& number) {
    if (!number.whole) return number.real;
    const auto magnitude = static_cast<double>(number.magnitude);
    return number.negative ? -magnitude : magnitude;
}

HRESULT StoreReal(double value, VARTYPE vt, VARIANT* target) {
    if (vt == VT_R8) return target->dblVal = value, S_OK;
    if (fabs(value) > FLT_MAX) return DISP_E_OVERFLOW;
    target->fltVal = static_cast<FLOAT>(value);
    return S_OK;
}

HRESULT StoreTruth(const VARIANT& source, VARIANT* target) {
    if (source.vt == VT_BSTR && ParseTruth(TextOf(source.bstrVal), &target->boolVal)) return S_OK;
    Number number;
    if (const HRESULT hr = ToNumber(source, false, &number); FAILED(hr)) return hr;
    target->boolVal = RealOf(number) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

HRESULT StoreNumber(const VARIANT& source, VARTYPE vt, VARIANT* target) {
    if (vt == VT_BOOL) return StoreTruth(source, target);
    const IntegerType* type = IntegerOf(vt);
    const IntegerType* from = IntegerOf(source.vt);
    if (type && from && type->bits == from->bits)
        return target->ullVal = source.ullVal, S_OK;  // sign or not: same bits
    Number number;
    if (const HRESULT hr = ToNumber(source, type != nullptr, &number); FAILED(hr)) return hr;
    if (type && source.vt == VT_BOOL && !type->isSigned) {  // all bits of true are set, in any width
        target->ullVal = static_cast<ULONGLONG>(LONGLONG{source.boolVal});
        return S_OK;
    }
    return type ? StoreInteger(number, *type, target) : StoreReal(RealOf(number), vt, target);
}

HRESULT StoreText(const VARIANT& source, USHORT flags, VARIANT* target) {
    char16_t buffer[platform::kNumberTextMax];
    std::u16string_view text;
    Number number;
    if (source.vt == VT_BOOL && (flags & (VARIANT_ALPHABOOL | VARIANT_LOCALBOOL))) {
        text = source.boolVal ? u"True" : u"False";
    } else if (source.vt != VT_EMPTY) {
        if (const HRESULT hr = ToNumber(source, false, &number); FAILED(hr)) return hr;
        text = {buffer, platform::FormatNumber(number, source.vt == VT_R4 ? 7 : 15, buffer)};
    }
    target->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return target->bstrVal ? S_OK : E_OUTOFMEMORY;
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

HRESULT BytesFromText(BSTR text, VARIANT* target) {
    target->parray = SafeArrayCreateVector(VT_UI1, 0, SysStringByteLen(text));
    if (!target->parray) return E_OUTOFMEMORY;
    const auto* bytes = reinterpret_cast<const BYTE*>(text);
    for (UINT i = 0; i < SysStringByteLen(text); ++i) static_cast<BYTE*>(target->parray->pvData)[i] = bytes[i];
    return S_OK;
}

// `source` is no reference and not of the type asked for. `target` gets the content; the caller sets its type.
HRESULT Convert(const VARIANT& source, VARTYPE vt, USHORT flags, VARIANT* target) {
    if (source.vt == VT_BSTR && vt == kByteArray) return BytesFromText(source.bstrVal, target);
    if (source.vt == kByteArray && vt == VT_BSTR) return TextFromBytes(source.parray, target);
    if ((source.vt | vt) & ~VT_TYPEMASK || source.vt == VT_ERROR || source.vt == VT_NULL) return DISP_E_TYPEMISMATCH;
    if (vt == VT_EMPTY || vt == VT_NULL) return S_OK;
    if (vt == VT_DISPATCH || vt == VT_UNKNOWN) return StoreObject(source, vt, target);
    if (vt == VT_BSTR) return StoreText(source, flags, target);
    return IsNumeric(vt) ? StoreNumber(source, vt, target) : DISP_E_TYPEMISMATCH;
}

}  // namespace

HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) {
    return VariantChangeTypeEx(pvargDest, pvarSrc, LOCALE_USER_DEFAULT, wFlags, vt);
}

// The destination keeps its content on failure, and may be the source.
HRESULT VariantChangeTypeEx(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, LCID, USHORT wFlags, VARTYPE vt) {
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
        hr = Convert(source, vt, wFlags, &target);
        if (SUCCEEDED(hr)) target.vt = vt;
    }
    VariantClear(&source);
    if (SUCCEEDED(hr)) hr = VariantClear(pvargDest);
    if (FAILED(hr)) return VariantClear(&target), hr;
    *pvargDest = target;
    if (vt == VT_BSTR && !target.bstrVal) return pvargDest->bstrVal = SysAllocString(u""), S_OK;
    return S_OK;
}
