// A VARIANT that owns what it holds, and how one shows in a line.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <string_view>
#include <type_traits>

namespace talvo::test {

// "empty", "null", "i4:7", "i2:7", "true", "false", "\"text\"", "object", "no object", "bytes ..." for a byte array as
// results have it (unlocked, lower bound 0); of anything else the type's number, of what is not as it must be "(bad ...)".
std::string Show(const VARIANT& value);
std::string Show(BSTR text);

class Variant {
public:
    Variant() { VariantInit(&value_); }
    // As a VT_I4. A template, so that a 0 is no null pointer where LONG is no int.
    template <class Number>
    requires(std::is_integral_v<Number> || std::is_enum_v<Number>) Variant(Number number) : Variant() {
        value_.vt = VT_I4;
        value_.lVal = static_cast<LONG>(number);
    }
    Variant(const OLECHAR* text) : Variant() { value_.vt = VT_BSTR, value_.bstrVal = SysAllocString(text); }
    Variant(IDispatch* object) : Variant() {
        value_.vt = VT_DISPATCH;
        value_.pdispVal = object;
        if (object) object->AddRef();
    }
    Variant(const Variant& other) : Variant() { *this = other; }
    Variant& operator=(const Variant& other) { return VariantCopy(&value_, const_cast<VARIANT*>(other.Get())), *this; }
    ~Variant() { VariantClear(&value_); }

    static Variant Of(VARTYPE type, LONGLONG bits = 0) {
        Variant made;
        made.value_.vt = type;
        made.value_.llVal = bits;
        return made;
    }
    static Variant Real(double number);
    static Variant Truth(bool truth) { return Of(VT_BOOL, static_cast<USHORT>(truth ? VARIANT_TRUE : VARIANT_FALSE)); }
    static Variant Missing() { return Of(VT_ERROR, static_cast<DWORD>(DISP_E_PARAMNOTFOUND)); }
    static Variant Text(std::string_view ascii);
    static Variant Bytes(std::string_view bytes, LONG lower = 0);
    // The referenced thing stays the caller's.
    static Variant Ref(VARTYPE type, void* target);

    VARIANT* Get() { return &value_; }
    const VARIANT* Get() const { return &value_; }
    VARIANT* Put() { return VariantClear(&value_), &value_; }
    std::string Show() const { return test::Show(value_); }

private:
    VARIANT value_;
};

}  // namespace talvo::test
