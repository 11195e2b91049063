// VARIANT: what is released and copied by type, and every kind of conversion.
#include "tests/platform/values.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using probe::Counted;

constexpr HRESULT kBad = DISP_E_BADVARTYPE;
constexpr HRESULT kOverflow = DISP_E_OVERFLOW;
constexpr HRESULT kMismatch = DISP_E_TYPEMISMATCH;

VARIANT Make(VARTYPE vt, LONGLONG bits = 0) {
    VARIANT v = {};
    v.vt = vt;
    v.llVal = bits;
    return v;
}

VARIANT Real(double value) {
    VARIANT v = Make(VT_R8);
    v.dblVal = value;
    return v;
}

VARIANT Single(float value) {
    VARIANT v = Make(VT_R4);
    v.fltVal = value;
    return v;
}

VARIANT String(const OLECHAR* text) {
    VARIANT v = Make(VT_BSTR);
    v.bstrVal = SysAllocString(text);
    return v;
}

// What it holds as text; nothing for what has no text.
std::string Shown(const VARIANT& v) {
    VARIANT text = Make(VT_EMPTY);
    VariantChangeType(&text, const_cast<VARIANT*>(&v), 0, VT_BSTR);
    std::string result;
    if (text.vt == VT_BSTR) result = probe::Narrow({text.bstrVal, SysStringLen(text.bstrVal)});
    VariantClear(&text);
    return result;
}

TEST(Variant, TypesThatClearAndCopy) {
    const struct {
        VARTYPE vt;
        HRESULT copy;
        HRESULT clear;
    } rows[] = {
        {VT_DECIMAL, S_OK, S_OK}, {VT_CLSID, kBad, S_OK},           {15, kBad, kBad},
        {VT_ARRAY, kBad, kBad},   {VT_BYREF | VT_NULL, kBad, kBad}, {VT_VECTOR | VT_I4, kBad, kBad},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.vt);
        VARIANT source = Make(row.vt), target = Make(VT_EMPTY);
        EXPECT_EQ(VariantCopy(&target, &source), row.copy);
        EXPECT_EQ(target.vt, row.copy == S_OK ? row.vt : 0);
        EXPECT_EQ(VariantClear(&source), row.clear);
        EXPECT_EQ(source.vt, row.clear == S_OK ? 0 : row.vt);
    }
}

TEST(Variant, OwnsWhatItHolds) {
    Counted object;
    VARIANT source = Make(VT_UNKNOWN), copy = Make(VT_EMPTY), target = Make(VT_EMPTY);
    source.punkVal = &object;
    object.AddRef();
    EXPECT_EQ(VariantCopy(&copy, &source), S_OK);
    EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
    EXPECT_EQ(object.references, 3);
    VARIANT reference = Make(VT_BYREF | VT_UNKNOWN);
    reference.ppunkVal = &copy.punkVal;
    EXPECT_EQ(VariantCopyInd(&target, &reference), S_OK);
    EXPECT_EQ(target.vt, VT_UNKNOWN);
    EXPECT_EQ(object.references, 4);
    for (VARIANT* value : {&reference, &source, &copy, &target}) EXPECT_EQ(VariantClear(value), S_OK);
    EXPECT_EQ(object.references, 1);
}

TEST(Variant, References) {
    VARIANT value = Make(VT_I4, 70000), target = Make(VT_EMPTY), number = Make(VT_BYREF | VT_I4);
    number.plVal = &value.lVal;
    EXPECT_EQ(VariantChangeType(&target, &number, 0, VT_I2), DISP_E_OVERFLOW);
    EXPECT_EQ(VariantChangeType(&number, &number, 0, VT_BSTR), S_OK);  // in place
    EXPECT_EQ(Shown(number), "70000");
    VARIANT toOwn = Make(VT_BYREF | VT_BSTR);
    toOwn.pbstrVal = &number.bstrVal;
    EXPECT_EQ(VariantCopyInd(&number, &toOwn), S_OK);  // the source lies in the destination
    EXPECT_EQ(Shown(number), "70000");
    VariantClear(&number);
    VARIANT toValue = Make(VT_BYREF | VT_VARIANT), toReference = toValue;
    toValue.pvarVal = &value;
    toReference.pvarVal = &toValue;
    EXPECT_EQ(VariantCopyInd(&target, &toReference), E_INVALIDARG);  // one level only

    DECIMAL decimal = {};
    decimal.Lo64 = 77;
    VARIANT toDecimal = Make(VT_BYREF | VT_DECIMAL);
    toDecimal.pdecVal = &decimal;
    EXPECT_EQ(VariantCopyInd(&target, &toDecimal), S_OK);
    EXPECT_EQ(target.vt, VT_DECIMAL);
    EXPECT_EQ(target.decVal.Lo64, 77u);
}

struct Conversion {
    VARIANT source;
    VARTYPE vt;
    HRESULT code;
    const char* shown;
};

void Check(Conversion row) {
    SCOPED_TRACE(Shown(row.source) + " of type " + std::to_string(row.source.vt) + " to " + std::to_string(row.vt));
    VARIANT target = Make(VT_EMPTY);
    EXPECT_EQ(VariantChangeType(&target, &row.source, 0, row.vt), row.code);
    EXPECT_EQ(target.vt, row.code == S_OK ? row.vt : 0);
    EXPECT_EQ(Shown(target), row.shown);
    VariantClear(&target);
    VariantClear(&row.source);
}

TEST(Variant, NumbersAndTextEachWay) {
    const Conversion rows[] = {
        {Make(VT_I1, 0xfb), VT_I4, S_OK, "-5"},
        {Make(VT_UI4, 0xffffffff), VT_I4, S_OK, "-1"},
        {Make(VT_UI4, 0x8000), VT_I2, kOverflow, ""},
        {Make(VT_I8, -1), VT_UI4, kOverflow, ""},
        {Make(VT_UI8, -1), VT_I4, kOverflow, ""},
        {Real(2.5), VT_I4, S_OK, "2"},
        {Real(32767.5), VT_I2, kOverflow, ""},
        {Real(-0.5), VT_UI4, S_OK, "0"},
        {Real(-0.6), VT_UI4, kOverflow, ""},
        {Real(-2147483648.5), VT_I4, S_OK, "-2147483648"},
        {Real(2147483647.5), VT_I4, kOverflow, ""},
        {Single(2.5f), VT_UI2, S_OK, "2"},
        {Make(VT_BOOL, 0xffff), VT_UI4, S_OK, "4294967295"},
        {Make(VT_BOOL, 0xffff), VT_I2, S_OK, "-1"},
        {Make(VT_I4, 300), VT_BOOL, S_OK, "-1"},
        {Real(0.001), VT_BOOL, S_OK, "-1"},
        {Make(VT_EMPTY), VT_I4, S_OK, "0"},
        {Make(VT_NULL), VT_I4, kMismatch, ""},
        {Make(VT_I4, 5), VT_ARRAY | VT_I4, kMismatch, ""},
        {Make(VT_I4, 5), VT_VOID, kBad, ""},
        {Make(VT_EMPTY), VT_BSTR, S_OK, ""},
        {Make(VT_NULL), VT_BSTR, kMismatch, ""},
        {Make(VT_I8, static_cast<LONGLONG>(0x8000000000000000)), VT_BSTR, S_OK, "-9223372036854775808"},
        {Make(VT_UI8, -1), VT_BSTR, S_OK, "18446744073709551615"},
        {Real(-0.0), VT_BSTR, S_OK, "0"},
        {Real(1.0 / 3), VT_BSTR, S_OK, "0.333333333333333"},
        {Real(1e15), VT_BSTR, S_OK, "1E+15"},
        {Single(16777216), VT_BSTR, S_OK, "1.677722E+07"},
        {String(OLESTR(" - 5 ")), VT_I4, S_OK, "-5"},
        {String(OLESTR("\t+1,234\n")), VT_I2, S_OK, "1234"},
        {String(OLESTR("5.")), VT_I4, S_OK, "5"},
        {String(OLESTR(".5e1")), VT_I4, S_OK, "5"},
        {String(OLESTR("1e-400")), VT_I4, S_OK, "0"},
        {String(OLESTR("1e400")), VT_I4, kOverflow, ""},
        {String(OLESTR("4294967295")), VT_UI4, S_OK, "4294967295"},
        {String(OLESTR("-1")), VT_UI4, kOverflow, ""},
        {String(OLESTR("")), VT_I4, kMismatch, ""},
        {String(OLESTR("1e")), VT_I4, kMismatch, ""},
        {String(OLESTR("--1")), VT_I4, kMismatch, ""},
        {String(OLESTR("1 2")), VT_I4, kMismatch, ""},
        {String(OLESTR("inf")), VT_I4, kMismatch, ""},
        {String(OLESTR("tRUE")), VT_BOOL, S_OK, "-1"},
        {String(OLESTR("#FALSE#")), VT_BOOL, S_OK, "0"},
        {String(OLESTR("0.0")), VT_BOOL, S_OK, "0"},
        {String(OLESTR("yes")), VT_BOOL, kMismatch, ""},
        {Make(VT_BSTR), VT_BSTR, S_OK, ""},
    };
    for (const Conversion& row : rows) Check(row);
}

TEST(Variant, BytesAndObjects) {
    VARIANT bytes = Make(VT_ARRAY | VT_UI1);
    bytes.parray = SafeArrayCreateVector(VT_UI1, 0, 3);
    memcpy(bytes.parray->pvData, "abc", 3);
    EXPECT_EQ(VariantChangeType(&bytes, &bytes, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(bytes.vt, VT_ARRAY | VT_UI1);  // kept on failure
    EXPECT_EQ(VariantChangeType(&bytes, &bytes, 0, VT_BSTR), S_OK);
    EXPECT_EQ(SysStringByteLen(bytes.bstrVal), 3u);
    EXPECT_EQ(memcmp(bytes.bstrVal, "abc", 3), 0);
    VariantClear(&bytes);

    Counted object;
    VARIANT unknown = Make(VT_UNKNOWN), target = Make(VT_EMPTY);
    unknown.punkVal = &object;
    EXPECT_EQ(VariantChangeType(&target, &unknown, 0, VT_DISPATCH), E_NOINTERFACE);
    EXPECT_EQ(VariantChangeType(&target, &unknown, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VariantChangeType(&target, &unknown, 0, VT_UNKNOWN), S_OK);
    EXPECT_EQ(object.references, 2);
    VariantClear(&target);
    unknown.punkVal = nullptr;
    EXPECT_EQ(VariantChangeType(&target, &unknown, 0, VT_DISPATCH), S_OK);
    EXPECT_EQ(target.vt, VT_DISPATCH);
    EXPECT_EQ(object.references, 1);
}

}  // namespace
