// Values of VARIANTs in C++: what frees itself, what counts its references, and how a value shows in a line.
#pragma once

#include "tests/platform/registry_access.h"

#include <oleauto.h>

#include <string>

namespace probe {

class Counted final : public IUnknown {
public:
    LONG references = 1;
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
};

inline std::string Show(BSTR text) { return text ? '"' + Narrow(text, SysStringLen(text)) + '"' : "null"; }

// A value with its type, in a line.
inline std::string Show(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
            return "empty";
        case VT_NULL:
            return "null";
        case VT_I2:
            return "i2:" + std::to_string(value.iVal);
        case VT_I4:
            return "i4:" + std::to_string(value.lVal);
        case VT_BOOL:
            return value.boolVal == VARIANT_TRUE ? "true" : value.boolVal == VARIANT_FALSE ? "false" : "?";
        case VT_BSTR:
            return Show(value.bstrVal);
        case VT_DISPATCH:
            return value.pdispVal ? "object" : "no object";
        case VT_ERROR:
            return value.scode == DISP_E_PARAMNOTFOUND ? "missing" : "error";
        case VT_BYREF | VT_VARIANT:
            return "ref " + Show(*value.pvarVal);
        case VT_BYREF | VT_I4:
            return "ref i4:" + std::to_string(*value.plVal);
        default:
            return "vt" + std::to_string(value.vt);
    }
}

// A value that frees itself.
class Value {
public:
    Value() { VariantInit(&value); }
    Value(LONG number) : Value() { value.vt = VT_I4, value.lVal = number; }
    Value(const OLECHAR* text) : Value() { value.vt = VT_BSTR, value.bstrVal = SysAllocString(text); }
    Value(IDispatch* object) : Value() {
        value.vt = VT_DISPATCH;
        value.pdispVal = object;
        if (object) object->AddRef();
    }
    Value(const Value& other) : Value() { VariantCopy(&value, const_cast<VARIANT*>(&other.value)); }
    Value& operator=(const Value& other) { return VariantCopy(&value, const_cast<VARIANT*>(&other.value)), *this; }
    ~Value() { VariantClear(&value); }

    static Value Of(VARTYPE type, LONGLONG bits = 0) {
        Value made;
        made.value.vt = type;
        made.value.llVal = bits;
        return made;
    }
    static Value Real(double number) {
        Value made;
        made.value.vt = VT_R8;
        made.value.dblVal = number;
        return made;
    }
    static Value Missing() { return Of(VT_ERROR, static_cast<DWORD>(DISP_E_PARAMNOTFOUND)); }
    // The referenced thing stays the caller's.
    static Value Ref(VARTYPE type, void* target) {
        Value made;
        made.value.vt = static_cast<VARTYPE>(type | VT_BYREF);
        made.value.byref = target;
        return made;
    }
    static Value Truth(bool truth) { return Of(VT_BOOL, static_cast<USHORT>(truth ? VARIANT_TRUE : VARIANT_FALSE)); }

    VARIANT value;
};

}  // namespace probe
