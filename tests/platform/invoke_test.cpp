// Late-bound calls through type information: arguments in and out, conversions, results, failures.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/platform/kit.h"
#include "tests/support/code_name.h"
#include "tests/support/variant.h"
#include "tests/support/wine.h"

namespace {

using namespace talvo::test;
using Value = Variant;

constexpr GUID kDual = {0x0e47ac5f, 0xcbd8, 0x4715, {0xa2, 0xfe, 0xb4, 0x68, 0xbe, 0x01, 0x4a, 0xf6}};
constexpr WORD kMethod = DISPATCH_METHOD;
constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kPutRef = DISPATCH_PROPERTYPUTREF;
constexpr DISPID kValue = DISPID_PROPERTYPUT;
constexpr UINT kUntouched = 77;

enum Colour : LONG { pcCold = -5 };

// DProbe of data/probe.idl, in the order of its virtual table: it writes down how it was called, and counts its
// references, so that a test sees what was not given back.
class Probe final : public IDispatch {
public:
    std::string log;
    LONG references = 1;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        const bool known = riid == IID_IUnknown || riid == IID_IDispatch || riid == kDual;
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        return known ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    virtual STDMETHODIMP get_Count(LONG* count) { return Log("get_Count"), *count = 42, S_OK; }
    virtual STDMETHODIMP put_Count(LONG count) { return Log("put_Count " + std::to_string(count)); }
    virtual STDMETHODIMP get_Friend(IDispatch** other) { return Log("get_Friend"), AddRef(), *other = this, S_OK; }
    virtual STDMETHODIMP putref_Friend(IDispatch* other) {
        return Log(other == this ? "putref_Friend me" : other ? "?" : "putref_Friend null");
    }
    virtual STDMETHODIMP get_Colour(Colour* colour) { return Log("get_Colour"), *colour = pcCold, S_OK; }
    virtual STDMETHODIMP put_Colour(Colour colour) { return Log("put_Colour " + std::to_string(colour)); }
    virtual STDMETHODIMP put_Item(LONG index, VARIANT item) {
        return Log("put_Item " + std::to_string(index) + ' ' + Show(item));
    }
    virtual STDMETHODIMP put_WriteOnly(BSTR value) { return Log("put_WriteOnly " + Show(value)); }
    virtual STDMETHODIMP Text(BSTR text, LONG* length) {
        return *length = static_cast<LONG>(SysStringLen(text)), Log("Text " + Show(text));
    }
    virtual STDMETHODIMP Convert(VARIANT* source, VARIANT_BOOL end, VARIANT* more, VARIANT* result) {
        Log("Convert " + Show(*source) + ' ' + std::to_string(end) + ' ' + Show(*more));
        VariantClear(more);
        more->vt = VT_I4;
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(OLESTR("converted"));
        return S_OK;
    }
    virtual STDMETHODIMP Many(BSTR s1, LONG l2, LONG l3, Colour e4, VARIANT_BOOL b5, BSTR s6, VARIANT_BOOL b7,
                              VARIANT* va8, LONG* pl9) {
        Log("Many " + Show(s1) + ' ' + std::to_string(l2) + ' ' + std::to_string(l3) + ' ' + std::to_string(e4) + ' ' +
            std::to_string(b5) + ' ' + Show(s6) + ' ' + std::to_string(b7) + ' ' + Show(*va8));
        return *pl9 = 9, S_OK;
    }
    virtual STDMETHODIMP Fail(LONG code) { return Log("Fail"), code; }
    virtual STDMETHODIMP Secret() { return Log("Secret"); }
    virtual STDMETHODIMP AboutBox() { return Log("AboutBox"); }
    virtual STDMETHODIMP Unnumbered() { return Log("Unnumbered"), S_FALSE; }

private:
    HRESULT Log(const std::string& line) { return log += line + ';', S_OK; }
};

class Invoke : public testing::Test {
protected:
    void SetUp() override {
        ITypeLib* library = nullptr;
        ASSERT_EQ(LoadTypeLibEx(Beside("probe.tlb").c_str(), REGKIND_NONE, &library), S_OK);
        ASSERT_EQ(library->GetTypeInfoOfGuid(kDual, &info_), S_OK);
        library->Release();
    }
    void TearDown() override {
        if (info_) info_->Release();
        EXPECT_EQ(probe_.references, 1);
    }

    // `arguments` in the order of the member; `names` name the last ones, in the same order (none: the value of a put).
    // The outcome: what the member noted, and its result or why there was none; `wrong` becomes the argument at fault,
    // counted from the last.
    std::string Call(DISPID id, WORD flags, const std::vector<Value>& arguments, std::vector<DISPID> names,
                     UINT& wrong) {
        if (names.empty() && (flags & (kPut | kPutRef))) names = {kValue};
        std::vector<Value> reversed(arguments.rbegin(), arguments.rend());
        std::reverse(names.begin(), names.end());
        static_assert(sizeof(Value) == sizeof(VARIANTARG));
        DISPPARAMS parameters = {reinterpret_cast<VARIANTARG*>(reversed.data()), names.data(),
                                 static_cast<UINT>(reversed.size()), static_cast<UINT>(names.size())};
        Value result;
        probe_.log.clear();
        const HRESULT code = info_->Invoke(&probe_, id, flags, &parameters, result.Get(), nullptr, &wrong);
        return probe_.log + (code == S_OK ? "" : Name(code)) + (V_VT(result.Get()) == VT_EMPTY ? "" : result.Show());
    }

    Probe probe_;
    ITypeInfo* info_ = nullptr;
};

TEST_F(Invoke, Table) {
    // Which argument was wrong, and which kind of wrong it was, Wine tells less exactly: rows that name one are not for it.
    constexpr int kAnyArgument = -1, kNoArgument = kUntouched;
    const Value me(&probe_), missing = Value::Missing(), more(OLESTR("more")),
                             nothing(static_cast<IDispatch*>(nullptr)), yes = Value::Truth(true);
    SHORT narrow = 4;
    Value text(OLESTR("12"));
    const Value toText = Value::Ref(VT_BSTR, &text.Get()->bstrVal), toVariable = Value::Ref(VT_VARIANT, text.Get());
    const Value nowhere = Value::Ref(VT_VARIANT, nullptr), noNumber = Value::Ref(VT_I4, nullptr);
    const struct {
        DISPID id;
        WORD flags;
        std::vector<Value> arguments;
        const char* outcome;
        std::vector<DISPID> names = {};
        int wrong = kAnyArgument;  // counted from the last one
    } rows[] = {
        {1, kGet | kMethod, {}, "get_Count;i4:42"},
        {1, kPut | kPutRef, {5}, "put_Count 5;"},
        {1, kPut, {Value::Ref(VT_I2, &narrow)}, "put_Count 4;"},
        {1, kPut, {toText}, "put_Count 12;"},
        {1, kPut, {toVariable}, "put_Count 12;"},
        {1, kPut, {Value::Real(1e10)}, "DISP_E_OVERFLOW"},
        {1, kPut, {more}, "DISP_E_TYPEMISMATCH", {}, 0},
        {2, kGet, {}, "get_Friend;object"},
        {2, kPutRef, {me}, "putref_Friend me;"},
        {2, kPutRef, {nothing}, "putref_Friend null;"},
        {2, kPutRef, {4}, "DISP_E_TYPEMISMATCH"},
        {3, kGet, {}, "get_Colour;i4:-5"},
        {3, kPut, {Value::Of(VT_I2, 16)}, "put_Colour 16;"},
        {4, kPut, {3, toVariable}, "put_Item 3 ref \"12\";"},
        {4, kPut, {3, missing}, "put_Item 3 missing;"},
        {5, kPut, {7}, "put_WriteOnly \"7\";"},
        {5, kGet, {}, "DISP_E_MEMBERNOTFOUND"},
        {12, kMethod, {Value()}, "Text \"\";i4:0"},
        {12, kMethod, {nowhere}, "DISP_E_TYPEMISMATCH", {}, 0},
        {12, kMethod, {noNumber}, "DISP_E_TYPEMISMATCH", {}, 0},
        {12, kMethod, {more}, "DISP_E_PARAMNOTFOUND", {kValue}, 0},
        {13, kMethod, {1, yes}, "DISP_E_BADPARAMCOUNT"},
        {13, kMethod, {toVariable, yes, OLESTR("m")}, "Convert \"12\" -1 \"m\";\"converted\""},
        {13, kMethod, {toText, yes, OLESTR("m")}, "Convert vt16392 -1 \"m\";\"converted\""},
        {13, kMethod, {OLESTR("m"), 1, yes}, "Convert i4:1 -1 \"m\";\"converted\"", {2, 0, 1}},
        {13, kMethod, {1, OLESTR("m"), yes}, "Convert i4:1 -1 \"m\";\"converted\"", {2, 1}},
        {13, kMethod, {1, yes, more}, "DISP_E_PARAMNOTFOUND", {9}, 0},
        {13, kMethod, {1, yes, more}, "DISP_E_PARAMNOTFOUND", {2, 2}, 1},
        {13, kMethod, {1, yes, more}, "DISP_E_BADPARAMCOUNT", {0}, kNoArgument},
        {13, kMethod, {nowhere, yes, 1}, "DISP_E_TYPEMISMATCH", {}, 2},
        {15,
         kMethod,
         {OLESTR("a"), 2, 3, 17, yes, OLESTR("f"), Value::Truth(false), Value()},
         "Many \"a\" 2 3 17 -1 \"f\" 0 empty;i4:9"},
        {15, kMethod, {more, 1, more, 1, yes, more, yes, 1}, "DISP_E_TYPEMISMATCH", {}, 5},
        {15, kMethod, {more, 1, missing, 1, yes, more, yes, 1}, "DISP_E_PARAMNOTOPTIONAL", {}, 5},
        {17, kMethod, {E_FAIL}, "Fail;DISP_E_EXCEPTION"},
        {19, kMethod, {}, "DISP_E_MEMBERNOTFOUND"},          // restricted
        {0x60000001, kMethod, {}, "DISP_E_MEMBERNOTFOUND"},  // inherited
        {0x6002000E, kMethod, {}, "Unnumbered;"},            // numbered by the compiler; a result that is no failure
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows << ": " << row.outcome);
        if (row.wrong != kAnyArgument && UnderWine()) continue;
        UINT wrong = kUntouched;
        EXPECT_EQ(Call(row.id, row.flags, row.arguments, row.names, wrong), row.outcome);
        const UINT told = row.wrong == kAnyArgument ? wrong : static_cast<UINT>(row.wrong);
        EXPECT_EQ(wrong, told);
    }
}

TEST_F(Invoke, WhatNeedsNotBeGiven) {
    DISPPARAMS none = {};
    Value value = 5;
    DISPPARAMS unnamed = {value.Get(), nullptr, 1, 0};
    EXPECT_EQ(info_->Invoke(&probe_, 1, kPut, &unnamed, nullptr, nullptr, nullptr), DISP_E_PARAMNOTFOUND)
        << "the value of a property has its name";
    EXPECT_EQ(info_->Invoke(&probe_, 1, kGet, nullptr, value.Get(), nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(info_->Invoke(&probe_, 2, kGet, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(probe_.log, "get_Friend;");
    if (UnderWine()) return;  // which reads what is not there
    DISPID names[] = {0, 1};
    DISPPARAMS rows[] = {{nullptr, nullptr, 1, 0}, {value.Get(), nullptr, 1, 1}, {value.Get(), names, 1, 2}};
    for (DISPPARAMS& row : rows)
        EXPECT_EQ(info_->Invoke(&probe_, 12, kMethod, &row, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(info_->Invoke(nullptr, 12, kMethod, &none, nullptr, nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
