// Late-bound calls where the stand-in keeps to the documented answer and other implementations are less exact: which
// argument was wrong, and which kind of wrong it was.
#include "tests/platform/invocation.h"

namespace {

using namespace probe;

class InvokeNative : public InvokeTest {};

TEST_F(InvokeNative, TellsTheWrongArgument) {
    const Value yes = Value::Truth(true);
    const struct {
        const char* name;
        DISPID id;
        WORD flags;
        std::vector<Value> arguments;
        std::vector<DISPID> names;
        HRESULT code;
        UINT wrong;  // counted from the last one
    } rows[] = {
        {"value of a property", 1, kPut, {OLESTR("red")}, {kValue}, DISP_E_TYPEMISMATCH, 0},
        {"in the middle", 10, kMethod, {1, 1, 256, 1, 1, yes}, {}, DISP_E_OVERFLOW, 3},
        {"no parameter of that name", 13, kMethod, {1, yes, OLESTR("more")}, {9}, DISP_E_PARAMNOTFOUND, 0},
        {"one name twice", 13, kMethod, {1, yes, OLESTR("more")}, {2, 2}, DISP_E_PARAMNOTFOUND, 1},
        {"name of a property's value", 12, kMethod, {OLESTR("a")}, {kValue}, DISP_E_PARAMNOTFOUND, 0},
        {"missing where one is required",
         10,
         kMethod,
         {1, 1, Value::Missing(), 1, 1, yes},
         {},
         DISP_E_PARAMNOTOPTIONAL,
         3},
        {"null reference", 14, kMethod, {Value::Ref(VT_I4, nullptr), OLESTR("a"), yes}, {}, DISP_E_TYPEMISMATCH, 2},
        {"null variable", 13, kMethod, {Value::Ref(VT_VARIANT, nullptr), yes, 1}, {}, DISP_E_TYPEMISMATCH, 2},
        {"null variable for a value", 12, kMethod, {Value::Ref(VT_VARIANT, nullptr)}, {}, DISP_E_TYPEMISMATCH, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Value> arguments = row.arguments;
        const Outcome outcome = Call(row.id, row.flags, arguments, row.names);
        EXPECT_EQ(static_cast<DWORD>(outcome.code), static_cast<DWORD>(row.code));
        EXPECT_EQ(outcome.wrong, row.wrong);
        EXPECT_EQ(outcome.log, "");
        EXPECT_EQ(outcome.result, "empty");
    }
}

TEST_F(InvokeNative, RefusesWhatLeavesAGap) {
    const Value yes = Value::Truth(true);
    std::vector<Value> arguments = {1, yes, OLESTR("more")};
    EXPECT_EQ(Call(13, kMethod, arguments, {0}).code, DISP_E_BADPARAMCOUNT) << "first by place and by name";
    arguments = {1, 2};
    EXPECT_EQ(Call(16, kMethod, arguments, {2}).log, "Choice 1 missing i4:2 7 \"preset\";");
    arguments = {yes, 1};
    EXPECT_EQ(Call(16, kMethod, arguments, {1, 2}).code, DISP_E_PARAMNOTOPTIONAL) << "the first is required";
}

TEST_F(InvokeNative, RefusesBadDescriptions) {
    VARIANT value = {};
    DISPPARAMS parameters = {nullptr, nullptr, 1, 0};
    EXPECT_EQ(info_->Invoke(&probe_, 12, kMethod, &parameters, nullptr, nullptr, nullptr), E_INVALIDARG);
    parameters = {&value, nullptr, 1, 1};
    EXPECT_EQ(info_->Invoke(&probe_, 12, kMethod, &parameters, nullptr, nullptr, nullptr), E_INVALIDARG);
    DISPID names[] = {0, 1};
    parameters = {&value, names, 1, 2};
    EXPECT_EQ(info_->Invoke(&probe_, 12, kMethod, &parameters, nullptr, nullptr, nullptr), E_INVALIDARG);
    parameters = {};
    EXPECT_EQ(info_->Invoke(nullptr, 12, kMethod, &parameters, nullptr, nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
