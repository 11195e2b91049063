// Late-bound calls where the stand-in keeps to the documented answer and other implementations are less exact: which
// argument was wrong, and which kind of wrong it was.
#include "tests/platform/invocation.h"

namespace {

using namespace probe;

class InvokeNative : public InvokeTest {};

TEST_F(InvokeNative, TellsTheWrongArgument) {
    constexpr UINT kUntouched = 77;
    const Value yes = Value::Truth(true), text(OLESTR("more")), missing = Value::Missing();
    const Value nowhere = Value::Ref(VT_VARIANT, nullptr);
    const struct {
        const char* name;
        DISPID id;
        WORD flags;
        std::vector<Value> arguments;
        const char* outcome;
        UINT wrong;  // counted from the last one
        std::vector<DISPID> names = {};
    } rows[] = {
        {"value of a property", 1, kPut, {text}, "type mismatch", 0},
        {"in the middle", 15, kMethod, {text, 1, text, 1, yes, text, yes, 1}, "type mismatch", 5},
        {"no parameter of that name", 13, kMethod, {1, yes, text}, "parameter not found", 0, {9}},
        {"one name twice", 13, kMethod, {1, yes, text}, "parameter not found", 1, {2, 2}},
        {"name of a property's value", 12, kMethod, {text}, "parameter not found", 0, {kValue}},
        {"missing", 15, kMethod, {text, 1, missing, 1, yes, text, yes, 1}, "not optional", 5},
        {"null variable", 13, kMethod, {nowhere, yes, 1}, "type mismatch", 2},
        {"null variable for a value", 12, kMethod, {nowhere}, "type mismatch", 0},
        {"null reference for a value", 12, kMethod, {Value::Ref(VT_I4, nullptr)}, "type mismatch", 0},
        {"first by place and by name", 13, kMethod, {1, yes, text}, "bad count", kUntouched, {0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Value> arguments = row.arguments;
        UINT wrong = kUntouched;
        EXPECT_EQ(Call(row.id, row.flags, arguments, row.names, &wrong), row.outcome);
        EXPECT_EQ(wrong, row.wrong);
    }
}

TEST_F(InvokeNative, RefusesBadDescriptions) {
    VARIANT value = {};
    DISPID names[] = {0, 1};
    DISPPARAMS rows[] = {{nullptr, nullptr, 1, 0}, {&value, nullptr, 1, 1}, {&value, names, 1, 2}};
    for (DISPPARAMS& row : rows) {
        EXPECT_EQ(info_->Invoke(&probe_, 12, kMethod, &row, nullptr, nullptr, nullptr), E_INVALIDARG);
    }
    DISPPARAMS none = {};
    EXPECT_EQ(info_->Invoke(nullptr, 12, kMethod, &none, nullptr, nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
