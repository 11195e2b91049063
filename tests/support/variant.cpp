// What a test looks for in a VARIANT stands in its line, so that one comparison covers type and value.
#include "tests/support/variant.h"

#include <cstring>

#include "tests/support/text.h"

namespace talvo::test {

static std::string ShowBytes(SAFEARRAY* array) {
    LONG lower = -1, upper = -1;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    if (SafeArrayGetDim(array) != 1 || SafeArrayGetElemsize(array) != 1 || lower != 0 || array->cLocks != 0)
        return "(bad array)";
    return "bytes " + std::string(static_cast<const char*>(array->pvData), static_cast<size_t>(upper + 1));
}

std::string Show(const VARIANT& value) {
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
            return value.boolVal == VARIANT_TRUE ? "true" : value.boolVal == VARIANT_FALSE ? "false" : "(bad truth)";
        case VT_BSTR:
            return Show(value.bstrVal);
        case VT_DISPATCH:
            return value.pdispVal ? "object" : "no object";
        case VT_ARRAY | VT_UI1:
            return ShowBytes(value.parray);
        default:
            return "vt" + std::to_string(value.vt);
    }
}

std::string Show(BSTR text) { return text ? '"' + Narrow({text, SysStringLen(text)}) + '"' : "null"; }

Variant Variant::Real(double number) {
    Variant made;
    made.value_.vt = VT_R8;
    made.value_.dblVal = number;
    return made;
}

Variant Variant::Text(std::string_view ascii) {
    Variant made;
    made.value_.vt = VT_BSTR;
    made.value_.bstrVal = Bstr(ascii).Detach();
    return made;
}

Variant Variant::Bytes(std::string_view bytes, LONG lower) {
    Variant made;
    made.value_.vt = VT_ARRAY | VT_UI1;
    made.value_.parray = SafeArrayCreateVector(VT_UI1, lower, static_cast<ULONG>(bytes.size()));
    if (!bytes.empty()) std::memcpy(made.value_.parray->pvData, bytes.data(), bytes.size());
    return made;
}

Variant Variant::Ref(VARTYPE type, void* target) {
    Variant made;
    made.value_.vt = static_cast<VARTYPE>(type | VT_BYREF);
    made.value_.byref = target;
    return made;
}

}  // namespace talvo::test
