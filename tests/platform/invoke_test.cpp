// Late-bound calls through type information: arguments in and out, conversions, results, exceptions.
#include "tests/platform/invocation.h"
#include "tests/support/allocation_faults.h"

namespace {

using namespace probe;

class Invoke : public InvokeTest {};

TEST_F(Invoke, Table) {
    const Value me(&probe_);
    const Value nothing(static_cast<IDispatch*>(nullptr));
    const Value yes = Value::Truth(true);
    const struct {
        const char* name;
        DISPID id;
        WORD flags;
        std::vector<Value> arguments;
        std::vector<DISPID> names;
        HRESULT code;
        const char* log;
        const char* result;
    } rows[] = {
        {"get", 1, kGet, {}, {}, S_OK, "get_Count;", "i4:42"},
        {"get or method", 1, kGet | kMethod, {}, {}, S_OK, "get_Count;", "i4:42"},
        {"put", 1, kPut, {5}, {kValue}, S_OK, "put_Count 5;", "empty"},
        {"put from text", 1, kPut, {OLESTR("-12")}, {kValue}, S_OK, "put_Count -12;", "empty"},
        {"put by either way", 1, kPut | kPutRef, {5}, {kValue}, S_OK, "put_Count 5;", "empty"},
        {"put of no number", 1, kPut, {OLESTR("red")}, {kValue}, DISP_E_TYPEMISMATCH, "", "empty"},
        {"put without the name", 1, kPut, {5}, {}, DISP_E_PARAMNOTFOUND, "", "empty"},
        {"method of a property", 1, kMethod, {}, {}, DISP_E_MEMBERNOTFOUND, "", "empty"},
        {"put of a putref property", 2, kPut, {me}, {kValue}, DISP_E_MEMBERNOTFOUND, "", "empty"},
        {"get of a write-only property", 5, kGet, {}, {}, DISP_E_MEMBERNOTFOUND, "", "empty"},
        {"no such member", 1000, kMethod, {}, {}, DISP_E_MEMBERNOTFOUND, "", "empty"},
        {"restricted member", 19, kMethod, {}, {}, DISP_E_MEMBERNOTFOUND, "", "empty"},
        {"inherited member", 0x60000001, kMethod, {}, {}, DISP_E_MEMBERNOTFOUND, "", "empty"},
        {"putref", 2, kPutRef, {me}, {kValue}, S_OK, "putref_Friend me;", "empty"},
        {"putref of nothing", 2, kPutRef, {nothing}, {kValue}, S_OK, "putref_Friend null;", "empty"},
        {"get of an object", 2, kGet, {}, {}, S_OK, "get_Friend;", "object"},
        {"get of an enumeration", 3, kGet, {}, {}, S_OK, "get_Colour;", "i4:-5"},
        {"put of an enumeration", 3, kPut, {Value::Of(VT_I2, 16)}, {kValue}, S_OK, "put_Colour 16;", "empty"},
        {"indexed get", 4, kGet, {3}, {}, S_OK, "get_Item 3;", "i2:4"},
        {"indexed put", 4, kPut, {3, OLESTR("x")}, {kValue}, S_OK, "put_Item 3 \"x\";", "empty"},
        {"put of a string", 5, kPut, {7}, {kValue}, S_OK, "put_WriteOnly \"7\";", "empty"},
        {"put of any value", 6, kPut, {yes}, {kValue}, S_OK, "put_Whole true;", "empty"},
        {"numbers",
         10,
         kMethod,
         {-2, -70000, 200, 60000, Value::Of(VT_UI4, 4000000000), yes},
         {},
         S_OK,
         "Numbers -2 -70000 200 60000 4000000000 -1;",
         "\"told\""},
        {"numbers from other types",
         10,
         kMethod,
         {OLESTR("3"), Value::Real(2.5), Value::Truth(false), OLESTR("4"), 5, 1},
         {},
         S_OK,
         "Numbers 3 2 0 4 5 -1;",
         "\"told\""},
        {"number too large", 10, kMethod, {1, 1, 256, 1, 1, yes}, {}, DISP_E_OVERFLOW, "", "empty"},
        {"too few arguments", 10, kMethod, {1, 1, 1, 1, 1}, {}, DISP_E_BADPARAMCOUNT, "", "empty"},
        {"too many arguments", 12, kMethod, {OLESTR("a"), 1}, {}, DISP_E_BADPARAMCOUNT, "", "empty"},
        {"real numbers",
         11,
         kMethod,
         {Value::Real(0.5), 2, Value::Real(4.25), Value::Of(VT_DATE, 0x4020000000000000)},
         {},
         S_OK,
         "Reals;",
         "r8:14.750000"},
        {"string", 12, kMethod, {OLESTR("abc")}, {}, S_OK, "Text \"abc\";", "i4:3"},
        {"string from a number", 12, kMethod, {1234}, {}, S_OK, "Text \"1234\";", "i4:4"},
        {"string from null", 12, kMethod, {Value::Of(VT_NULL, 0)}, {}, DISP_E_TYPEMISMATCH, "", "empty"},
        {"string from nothing", 12, kMethod, {Value()}, {}, S_OK, "Text \"\";", "i4:0"},
        {"by name",
         13,
         kMethod,
         {1, yes, OLESTR("more")},
         {0, 1, 2},
         S_OK,
         "Convert i4:1 -1 \"more\";",
         "\"converted\""},
        {"by name, crosswise",
         13,
         kMethod,
         {OLESTR("more"), 1, yes},
         {2, 0, 1},
         S_OK,
         "Convert i4:1 -1 \"more\";",
         "\"converted\""},
        {"first by place, rest by name",
         13,
         kMethod,
         {1, OLESTR("more"), yes},
         {2, 1},
         S_OK,
         "Convert i4:1 -1 \"more\";",
         "\"converted\""},
        {"missing value for any value", 6, kPut, {Value::Missing()}, {kValue}, S_OK, "put_Whole missing;", "empty"},
        {"optional ones left out", 16, kMethod, {1}, {}, S_OK, "Choice 1 missing missing 7 \"preset\";", "empty"},
        {"optional ones marked as missing",
         16,
         kMethod,
         {1, Value::Missing(), 2, Value::Missing(), OLESTR("x")},
         {},
         S_OK,
         "Choice 1 missing i4:2 7 \"x\";",
         "empty"},
        {"one by name, others left out",
         16,
         kMethod,
         {1, OLESTR("y")},
         {4},
         S_OK,
         "Choice 1 missing missing 7 \"y\";",
         "empty"},
        {"none of the required ones", 16, kMethod, {}, {}, DISP_E_BADPARAMCOUNT, "", "empty"},
        {"nine parameters",
         15,
         kMethod,
         {OLESTR("a"), 2, 3, 17, yes, OLESTR("f"), Value::Truth(false), Value()},
         {},
         S_OK,
         "Many \"a\" 2 3 17 -1 \"f\" 0 empty;",
         "i4:9"},
        {"object of the interface asked for", 18, kMethod, {me}, {}, S_OK, "Same me;", "object"},
        {"number for an object", 18, kMethod, {4}, {}, DISP_E_TYPEMISMATCH, "", "empty"},
        {"no object", 18, kMethod, {nothing}, {}, S_OK, "Same null;", "no object"},
        {"negative identifier", -552, kMethod, {}, {}, S_OK, "AboutBox;", "empty"},
        {"given identifier, result that is no failure", 0x60020015, kMethod, {}, {}, S_OK, "Unnumbered;", "empty"},
        {"failure", 17, kMethod, {probe::kFailure}, {}, DISP_E_EXCEPTION, "Fail;", "empty"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Value> arguments = row.arguments;
        const Outcome outcome = Call(row.id, row.flags, arguments, row.names);
        EXPECT_EQ(static_cast<DWORD>(outcome.code), static_cast<DWORD>(row.code));
        EXPECT_EQ(outcome.log, row.log);
        EXPECT_EQ(outcome.result, row.result);
    }
}

TEST_F(Invoke, ReferencesAreReadForValues) {
    LONG number = 31;
    SHORT narrow = 4;
    Value text(OLESTR("12"));
    struct {
        const char* name;
        Value argument;
        const char* log;
    } rows[] = {
        {"of the type", Value::Ref(VT_I4, &number), "put_Count 31;"},
        {"of another type", Value::Ref(VT_I2, &narrow), "put_Count 4;"},
        {"to a string", Value::Ref(VT_BSTR, &text.value.bstrVal), "put_Count 12;"},
        {"to a variable", Value::Ref(VT_VARIANT, &text.value), "put_Count 12;"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Value> arguments = {row.argument};
        EXPECT_EQ(Call(1, kPut, arguments, {kValue}).log, row.log);
    }
    std::vector<Value> arguments = {Value::Ref(VT_VARIANT, &text.value)};
    EXPECT_EQ(Call(6, kPut, arguments, {kValue}).log, "put_Whole ref \"12\";") << "a variable arrives as it was given";
}

TEST_F(Invoke, ReferencesAreWrittenThrough) {
    LONG number = 5;
    BSTR text = SysAllocString(OLESTR("old"));
    VARIANT_BOOL done = VARIANT_FALSE;
    std::vector<Value> arguments = {Value::Ref(VT_I4, &number), Value::Ref(VT_BSTR, &text), Value::Ref(VT_BOOL, &done)};
    EXPECT_EQ(Call(14, kMethod, arguments).log, "Exchange 5 \"old\";");
    EXPECT_EQ(number, -5);
    EXPECT_EQ(Show(text), "\"exchanged\"");
    EXPECT_EQ(done, VARIANT_TRUE);

    SHORT narrow = 4;
    arguments[0] = Value::Ref(VT_I2, &narrow);
    EXPECT_EQ(Call(14, kMethod, arguments).code, DISP_E_TYPEMISMATCH) << "no place for a wider number";
    Value variable(7);
    arguments[0] = Value::Ref(VT_VARIANT, &variable.value);
    EXPECT_EQ(Call(14, kMethod, arguments).code, DISP_E_TYPEMISMATCH) << "a variable is no place for one type";
    SysFreeString(text);

    arguments = {3, OLESTR("given"), Value::Truth(false)};
    EXPECT_EQ(Call(14, kMethod, arguments).log, "Exchange 3 \"given\";")
        << "values serve where references are not given";
}

TEST_F(Invoke, VariablesAreReadAndWritten) {
    Value source(OLESTR("var"));
    Value more(OLESTR("more"));
    std::vector<Value> arguments = {Value::Ref(VT_VARIANT, &source.value), Value::Truth(true),
                                    Value::Ref(VT_VARIANT, &more.value)};
    const Outcome outcome = Call(13, kMethod, arguments);
    EXPECT_EQ(outcome.log, "Convert \"var\" -1 \"more\";");
    EXPECT_EQ(outcome.result, "\"converted\"");
    EXPECT_EQ(Show(source.value), "\"var\"");
    EXPECT_EQ(Show(more.value), "i4:99");
    LONG number = 5;
    arguments[0] = Value::Ref(VT_I4, &number);
    EXPECT_EQ(Call(13, kMethod, arguments).log, "Convert ref i4:5 -1 i4:99;") << "other references arrive as given";
}

TEST_F(Invoke, FailureBecomesAnException) {
    Value code(probe::kFailure);
    DISPPARAMS parameters = {&code.value, nullptr, 1, 0};
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
    VARIANT result;
    EXPECT_EQ(info_->Invoke(&probe_, 1, kGet, nullptr, &result, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(info_->Invoke(&probe_, 2, kGet, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(DispInvoke(&probe_, info_, -552, kMethod, &none, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(probe_.log, "get_Friend;AboutBox;");
}

TEST_F(Invoke, EveryFailingAllocation) {
    talvo::test::ForEachFailingAllocation([&](talvo::test::AllocationFaults& faults) {
        talvo::test::FaultPause* pause = new talvo::test::FaultPause;
        std::vector<Value> arguments = {1234, Value::Truth(true), OLESTR("more")};
        std::vector<VARIANTARG> reversed = {Value::Real(0.5).value, arguments[0].value};
        delete pause;
        DISPPARAMS parameters = {&reversed[1], nullptr, 1, 0};
        VARIANT result;
        VariantInit(&result);
        const HRESULT hr = info_->Invoke(&probe_, 12, kMethod, &parameters, &result, nullptr, nullptr);
        EXPECT_EQ(hr, faults.Struck() ? E_OUTOFMEMORY : S_OK);
        VariantClear(&result);
    });
}

TEST(CallFunction, ThroughATable) {
    probe::Probe object;
    const struct {
        const char* name;
        unsigned slot;
        std::vector<VARTYPE> types;
        std::vector<Value> values;
        HRESULT code;
        const char* log;
    } rows[] = {
        {"no arguments", 27, {}, {}, S_OK, "AboutBox;"},
        {"a number", 8, {VT_I4}, {-3}, S_OK, "put_Count -3;"},
        {"a whole value after a number", 14, {VT_I4, VT_VARIANT}, {1, OLESTR("v")}, S_OK, "put_Item 1 \"v\";"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<VARIANTARG*> pointers;
        for (const Value& value : row.values) pointers.push_back(const_cast<VARIANT*>(&value.value));
        std::vector<VARTYPE> types = row.types;
        VARIANT result;
        object.log.clear();
        EXPECT_EQ(DispCallFunc(&object, row.slot * sizeof(void*), CC_STDCALL, VT_ERROR, static_cast<UINT>(types.size()),
                               types.data(), pointers.data(), &result),
                  row.code);
        EXPECT_EQ(result.vt, VT_ERROR);
        EXPECT_EQ(result.scode, S_OK);
        EXPECT_EQ(object.log, row.log);
    }
}

}  // namespace
