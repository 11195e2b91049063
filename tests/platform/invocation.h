// What tests of late-bound calls share: values that free themselves, and a call on the probe with its outcome.
#pragma once

#include "tests/platform/probe.h"

#include <gtest/gtest.h>

#include <vector>

namespace probe {

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

    static Value Of(VARTYPE type, LONGLONG bits) {
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

constexpr UINT kUntouched = 77;

struct Outcome {
    HRESULT code = S_OK;
    UINT wrong = kUntouched;
    std::string result;
    std::string log;
};

class InvokeTest : public testing::Test {
protected:
    void SetUp() override {
        ITypeLib* library = nullptr;
        ASSERT_EQ(LoadTypeLibEx(Beside("probe.tlb").c_str(), REGKIND_NONE, &library), S_OK);
        ASSERT_EQ(library->GetTypeInfoOfGuid(kDual, &info_), S_OK);
        library->Release();
    }
    void TearDown() override {
        if (info_) info_->Release();
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(probe_.references, 1);
    }

    // `arguments` in the order of the member; `names` name the last ones, in the same order. What the member or the call
    // puts in place of an argument is found in it afterwards.
    Outcome Call(DISPID id, WORD flags, std::vector<Value>& arguments, const std::vector<DISPID>& names = {}) {
        std::vector<VARIANTARG> reversed;
        for (size_t i = arguments.size(); i-- != 0;) reversed.push_back(arguments[i].value);
        std::vector<DISPID> namesReversed(names.rbegin(), names.rend());
        DISPPARAMS parameters = {reversed.data(), namesReversed.data(), static_cast<UINT>(reversed.size()),
                                 static_cast<UINT>(namesReversed.size())};
        Outcome outcome;
        VARIANT result;
        VariantInit(&result);
        probe_.log.clear();
        outcome.code = info_->Invoke(&probe_, id, flags, &parameters, &result, nullptr, &outcome.wrong);
        outcome.result = Show(result);
        outcome.log = probe_.log;
        VariantClear(&result);
        for (size_t i = 0; i < arguments.size(); ++i) arguments[i].value = reversed[arguments.size() - 1 - i];
        return outcome;
    }

    Probe probe_;
    ITypeInfo* info_ = nullptr;
};

constexpr WORD kMethod = DISPATCH_METHOD;
constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kPutRef = DISPATCH_PROPERTYPUTREF;
constexpr DISPID kValue = DISPID_PROPERTYPUT;

}  // namespace probe
