// A late-bound call on the probe with its outcome in a line.
#pragma once

#include "tests/platform/probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/code_name.h"

namespace probe {

constexpr WORD kMethod = DISPATCH_METHOD;
constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kPutRef = DISPATCH_PROPERTYPUTREF;
constexpr DISPID kValue = DISPID_PROPERTYPUT;
constexpr UINT kUntouched = 77;

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

}  // namespace probe
