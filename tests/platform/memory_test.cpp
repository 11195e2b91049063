// The observer of the task allocator, arrays, which come from it, and identifiers as text.
#include "tests/platform/values.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include <string>

#include "tests/support/allocation_faults.h"

namespace {

using probe::Text;

TEST(TaskMemory, ObserverSeesAndRefuses) {
    EXPECT_EQ(CoRevokeMallocSpy(), CO_E_OBJNOTREG);
    EXPECT_EQ(CoRegisterMallocSpy(nullptr), E_INVALIDARG);
    void* before = CoTaskMemAlloc(1);
    {
        talvo::test::AllocationFaults faults;
        void* during = CoTaskMemRealloc(CoTaskMemAlloc(1), 1000);
        ASSERT_TRUE(during);
        EXPECT_EQ(faults.Live(), 1u);
        faults.FailNth(1, true);
        EXPECT_FALSE(CoTaskMemAlloc(1));
        EXPECT_FALSE(CoTaskMemRealloc(before, 2000));  // the old block stays
        CoTaskMemFree(before);
        EXPECT_EQ(faults.Live(), 1u) << "blocks from before are not its own";
        CoTaskMemFree(during);
    }
    EXPECT_EQ(CoRevokeMallocSpy(), CO_E_OBJNOTREG);
}

// Of two dimensions the descriptor lists the last first.
TEST(SafeArray, Bounds) {
    SAFEARRAYBOUND bounds[] = {{3, -1}, {4, 10}};
    SAFEARRAY* array = SafeArrayCreate(VT_I2, 2, bounds);
    ASSERT_TRUE(array);
    LONG lower = 0, upper = 0;
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(array, 2, &upper), S_OK);
    EXPECT_EQ(lower, -1);
    EXPECT_EQ(upper, 13);
    EXPECT_EQ(SafeArrayGetLBound(array, 3, &lower), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(array, 0, &upper), DISP_E_BADINDEX);
    EXPECT_EQ(std::string(static_cast<char*>(array->pvData), 24), std::string(24, '\0'));
    EXPECT_EQ(SafeArrayUnaccessData(array), E_UNEXPECTED);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(Identifiers, TextBothWays) {
    const GUID id = {0x12345678, 0x9abc, 0xdef0, {1, 2, 3, 4, 5, 6, 7, 0xff}};
    OLECHAR text[40] = {};
    EXPECT_EQ(StringFromGUID2(id, text, 38), 0);
    EXPECT_EQ(StringFromGUID2(id, text, 39), 39);
    EXPECT_EQ(Text(text), OLESTR("{12345678-9ABC-DEF0-0102-0304050607FF}"));
    const struct {
        const OLECHAR* text;
        HRESULT code;
    } rows[] = {
        {text, S_OK},
        {OLESTR("{12345678-9abc-def0-0102-0304050607ff}"), S_OK},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FG}"), CO_E_IIDSTRING},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FF"), E_INVALIDARG},
        {OLESTR("(12345678-9ABC-DEF0-0102-0304050607FF)"), CO_E_IIDSTRING},
    };
    for (const auto& row : rows) {
        GUID parsed = IID_IUnknown;
        EXPECT_EQ(IIDFromString(row.text, &parsed), row.code);
        if (row.code == S_OK) {
            EXPECT_TRUE(parsed == id);
        }
    }
}

}  // namespace
