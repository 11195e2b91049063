// The task allocator with its observer, strings and arrays, which come from it, and identifiers as text.
#include "tests/platform/values.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include <cstring>
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

TEST(Strings, LengthsAndContent) {
    const OLECHAR source[] = {'a', 0, 'b', 'c', 0};
    const struct {
        const char* name;
        BSTR text;
        UINT bytes;
        const void* content;  // with its terminator
    } rows[] = {
        {"with a zero inside", SysAllocStringLen(source, 4), 8, source},
        {"odd number of bytes", SysAllocStringByteLen("odd", 3), 3, "odd\0"},
        {"of a length only", SysAllocStringByteLen(nullptr, 4), 4, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(row.text);
        EXPECT_EQ(SysStringByteLen(row.text), row.bytes);
        EXPECT_EQ(SysStringLen(row.text), row.bytes / 2);
        EXPECT_EQ(reinterpret_cast<const UINT*>(row.text)[-1], row.bytes);
        if (row.content) {
            EXPECT_EQ(memcmp(row.text, row.content, row.bytes + 1), 0);
        }
        SysFreeString(row.text);
    }
    EXPECT_FALSE(SysAllocStringLen(nullptr, 0x80000000u));
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

// A descriptor alone, its data given by hand: from the task allocator, to hand a buffer over without a copy, or the
// caller's own, which stays.
TEST(SafeArray, AdoptedAndForeignData) {
    char own[] = "bytes";
    for (const int features : {FADF_FIXEDSIZE, FADF_FIXEDSIZE | FADF_STATIC}) {
        SAFEARRAY* array = nullptr;
        ASSERT_EQ(SafeArrayAllocDescriptor(1, &array), S_OK);
        array->fFeatures = static_cast<USHORT>(features);
        array->cbElements = 1;
        array->rgsabound[0] = {5, 0};
        array->pvData = features & FADF_STATIC ? own : CoTaskMemAlloc(5);
        memcpy(array->pvData, "bytes", 5);
        SAFEARRAY* copy = nullptr;
        ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
        EXPECT_NE(copy->pvData, array->pvData);
        EXPECT_EQ(memcmp(copy->pvData, "bytes", 5), 0);
        EXPECT_FALSE(copy->fFeatures & (FADF_FIXEDSIZE | FADF_STATIC));
        EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
        VARIANT v = probe::Value::Of(VT_ARRAY | VT_UI1).value;
        v.parray = array;
        EXPECT_EQ(VariantClear(&v), S_OK);
    }
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
