// Late-bound calls through type information: arguments in and out, conversions, results, exceptions.
#include "tests/platform/invocation.h"
#include "tests/support/wine.h"

namespace {

using namespace probe;

class Invoke : public InvokeTest {};

TEST_F(Invoke, Table) {
    // Which argument was wrong, and which kind of wrong it was, Wine tells less exactly: rows that name one are not for it.
    constexpr int kAnyArgument = -1, kNoArgument = kUntouched;
    const Value me(&probe_), missing = Value::Missing(), more(OLESTR("more")),
                             nothing(static_cast<IDispatch*>(nullptr)), yes = Value::Truth(true);
    LONG number = 31;
    SHORT narrow = 4;
    Value text(OLESTR("12"));
    const Value toText = Value::Ref(VT_BSTR, &text.Get()->bstrVal), toVariable = Value::Ref(VT_VARIANT, text.Get());
    const Value nowhere = Value::Ref(VT_VARIANT, nullptr), noNumber = Value::Ref(VT_I4, nullptr);
    const struct {
        const char* name;
        DISPID id;
        WORD flags;
        std::vector<Value> arguments;
        const char* outcome;
        std::vector<DISPID> names = {};
        int wrong = kAnyArgument;  // counted from the last one
    } rows[] = {
        {"get", 1, kGet, {}, "get_Count;i4:42"},
        {"get or method", 1, kGet | kMethod, {}, "get_Count;i4:42"},
        {"put", 1, kPut, {5}, "put_Count 5;"},
        {"put from text", 1, kPut, {OLESTR("-12")}, "put_Count -12;"},
        {"put by either way", 1, kPut | kPutRef, {5}, "put_Count 5;"},
        {"put of no number", 1, kPut, {OLESTR("red")}, "DISP_E_TYPEMISMATCH"},
        {"put of too large a number", 1, kPut, {Value::Real(1e10)}, "DISP_E_OVERFLOW"},
        {"method of a property", 1, kMethod, {}, "DISP_E_MEMBERNOTFOUND"},
        {"put of a putref property", 2, kPut, {me}, "DISP_E_MEMBERNOTFOUND"},
        {"get of a write-only property", 5, kGet, {}, "DISP_E_MEMBERNOTFOUND"},
        {"no such member", 1000, kMethod, {}, "DISP_E_MEMBERNOTFOUND"},
        {"restricted member", 19, kMethod, {}, "DISP_E_MEMBERNOTFOUND"},
        {"inherited member", 0x60000001, kMethod, {}, "DISP_E_MEMBERNOTFOUND"},
        {"putref", 2, kPutRef, {me}, "putref_Friend me;"},
        {"putref of nothing", 2, kPutRef, {nothing}, "putref_Friend null;"},
        {"putref of a number", 2, kPutRef, {4}, "DISP_E_TYPEMISMATCH"},
        {"get of an object", 2, kGet, {}, "get_Friend;object"},
        {"get of an enumeration", 3, kGet, {}, "get_Colour;i4:-5"},
        {"put of an enumeration", 3, kPut, {Value::Of(VT_I2, 16)}, "put_Colour 16;"},
        {"put of any value with an index", 4, kPut, {3, OLESTR("x")}, "put_Item 3 \"x\";"},
        {"put of a string", 5, kPut, {7}, "put_WriteOnly \"7\";"},
        {"put of a missing value", 4, kPut, {3, Value::Missing()}, "put_Item 3 missing;"},
        {"reference of the type", 1, kPut, {Value::Ref(VT_I4, &number)}, "put_Count 31;"},
        {"reference of another type", 1, kPut, {Value::Ref(VT_I2, &narrow)}, "put_Count 4;"},
        {"reference to a string", 1, kPut, {toText}, "put_Count 12;"},
        {"reference to a variable", 1, kPut, {toVariable}, "put_Count 12;"},
        {"variable for any value", 4, kPut, {3, toVariable}, "put_Item 3 ref \"12\";"},
        {"too many arguments", 12, kMethod, {OLESTR("a"), 1}, "DISP_E_BADPARAMCOUNT"},
        {"string", 12, kMethod, {OLESTR("abc")}, "Text \"abc\";i4:3"},
        {"string from null", 12, kMethod, {Value::Of(VT_NULL)}, "DISP_E_TYPEMISMATCH"},
        {"string from nothing", 12, kMethod, {Value()}, "Text \"\";i4:0"},
        {"too few arguments", 13, kMethod, {1, yes}, "DISP_E_BADPARAMCOUNT"},
        {"by name", 13, kMethod, {1, yes, OLESTR("m")}, "Convert i4:1 -1 \"m\";\"converted\"", {0, 1, 2}},
        {"crosswise", 13, kMethod, {OLESTR("m"), 1, yes}, "Convert i4:1 -1 \"m\";\"converted\"", {2, 0, 1}},
        {"rest by name", 13, kMethod, {1, OLESTR("m"), yes}, "Convert i4:1 -1 \"m\";\"converted\"", {2, 1}},
        {"nine parameters",
         15,
         kMethod,
         {OLESTR("a"), 2, 3, 17, yes, OLESTR("f"), Value::Truth(false), Value()},
         "Many \"a\" 2 3 17 -1 \"f\" 0 empty;i4:9"},
        {"negative identifier", -552, kMethod, {}, "AboutBox;"},
        {"given identifier, result that is no failure", 0x6002000E, kMethod, {}, "Unnumbered;"},
        {"any reference for a variable",
         13,
         kMethod,
         {Value::Ref(VT_I4, &number), yes, OLESTR("m")},
         "Convert ref i4:31 -1 \"m\";\"converted\""},
        {"variable", 13, kMethod, {toVariable, yes, OLESTR("m")}, "Convert \"12\" -1 \"m\";\"converted\""},
        {"text for a number", 1, kPut, {more}, "DISP_E_TYPEMISMATCH", {}, 0},
        {"in the middle", 15, kMethod, {more, 1, more, 1, yes, more, yes, 1}, "DISP_E_TYPEMISMATCH", {}, 5},
        {"no parameter of that name", 13, kMethod, {1, yes, more}, "DISP_E_PARAMNOTFOUND", {9}, 0},
        {"one name twice", 13, kMethod, {1, yes, more}, "DISP_E_PARAMNOTFOUND", {2, 2}, 1},
        {"name of a property's value", 12, kMethod, {more}, "DISP_E_PARAMNOTFOUND", {kValue}, 0},
        {"missing", 15, kMethod, {more, 1, missing, 1, yes, more, yes, 1}, "DISP_E_PARAMNOTOPTIONAL", {}, 5},
        {"null variable", 13, kMethod, {nowhere, yes, 1}, "DISP_E_TYPEMISMATCH", {}, 2},
        {"null variable for a value", 12, kMethod, {nowhere}, "DISP_E_TYPEMISMATCH", {}, 0},
        {"null reference for a value", 12, kMethod, {noNumber}, "DISP_E_TYPEMISMATCH", {}, 0},
        {"first by place and by name", 13, kMethod, {1, yes, more}, "DISP_E_BADPARAMCOUNT", {0}, kNoArgument},
        {"failure", 17, kMethod, {probe::kFailure}, "Fail;DISP_E_EXCEPTION"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.wrong != kAnyArgument && talvo::test::UnderWine()) continue;
        UINT wrong = kUntouched;
        EXPECT_EQ(Call(row.id, row.flags, row.arguments, row.names, wrong), row.outcome);
        const UINT told = row.wrong == kAnyArgument ? wrong : static_cast<UINT>(row.wrong);
        EXPECT_EQ(wrong, told);
    }
}

TEST_F(Invoke, FailureBecomesAnException) {
    Value code(probe::kFailure);
    DISPPARAMS parameters = {code.Get(), nullptr, 1, 0};
    EXCEPINFO exception = {};
    EXPECT_EQ(info_->Invoke(&probe_, 17, kMethod, &parameters, nullptr, &exception, nullptr), DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, probe::kFailure);
    EXPECT_EQ(exception.wCode, 0);
    EXPECT_EQ(exception.dwHelpContext, 12u);
    EXPECT_EQ(Show(exception.bstrSource), "\"Probe.1\"");
    EXPECT_EQ(Show(exception.bstrDescription), "\"it failed\"");
    EXPECT_EQ(Show(exception.bstrHelpFile), "\"probe.hlp\"");
    for (const BSTR text : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile})
        SysFreeString(text);
    IErrorInfo* left = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &left), S_FALSE) << "the error information was taken";
    EXPECT_EQ(info_->Invoke(&probe_, 17, kMethod, &parameters, nullptr, nullptr, nullptr), DISP_E_EXCEPTION);
}

TEST_F(Invoke, WhatNeedsNotBeGiven) {
    DISPPARAMS none = {};
    VARIANT value = *Value::Of(VT_I4, 5).Get();
    DISPPARAMS unnamed = {&value, nullptr, 1, 0};
    EXPECT_EQ(info_->Invoke(&probe_, 1, kPut, &unnamed, nullptr, nullptr, nullptr), DISP_E_PARAMNOTFOUND)
        << "the value of a property has its name";
    EXPECT_EQ(info_->Invoke(&probe_, 1, kGet, nullptr, &value, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(info_->Invoke(&probe_, 2, kGet, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(probe_.log, "get_Friend;");
    if (talvo::test::UnderWine()) return;  // which reads what is not there
    DISPID names[] = {0, 1};
    DISPPARAMS rows[] = {{nullptr, nullptr, 1, 0}, {&value, nullptr, 1, 1}, {&value, names, 1, 2}};
    for (DISPPARAMS& row : rows) {
        EXPECT_EQ(info_->Invoke(&probe_, 12, kMethod, &row, nullptr, nullptr, nullptr), E_INVALIDARG);
    }
    EXPECT_EQ(info_->Invoke(nullptr, 12, kMethod, &none, nullptr, nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
