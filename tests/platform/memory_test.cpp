// The task allocator with its observer, strings and arrays, which come from it, and identifiers as text.
#include "tests/platform/values.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/allocation_faults.h"

namespace {

using probe::Counted;
using probe::Text;

TEST(TaskMemory, SizesAndContent) {
    auto* block = static_cast<char*>(CoTaskMemAlloc(3));
    ASSERT_TRUE(block);
    std::string("abc").copy(block, 3);
    block = static_cast<char*>(CoTaskMemRealloc(block, 100000));
    ASSERT_TRUE(block);
    EXPECT_EQ(std::string(block, 3), "abc");
    EXPECT_FALSE(CoTaskMemRealloc(block, 0));  // frees
    void* empty = CoTaskMemAlloc(0);
    EXPECT_TRUE(empty);
    CoTaskMemFree(empty);
    CoTaskMemFree(nullptr);
    CoTaskMemFree(CoTaskMemRealloc(nullptr, 5));
    EXPECT_FALSE(CoTaskMemAlloc(static_cast<SIZE_T>(-1) / 2));
}

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

// What hands memory to a caller either succeeds or says so and hands over nothing.
TEST(TaskMemory, EveryAllocationCanFail) {
    talvo::test::ForEachFailingAllocation([](talvo::test::AllocationFaults&) {
        SAFEARRAYBOUND bounds[] = {{3, 0}, {2, 1}};
        SafeArrayDestroy(SafeArrayCreate(VT_I2, 2, bounds));
        VARIANT source = {}, target = {};
        if (SAFEARRAY* const texts = SafeArrayCreateVector(VT_BSTR, 0, 2)) {
            static_cast<BSTR*>(texts->pvData)[1] = SysAllocString(OLESTR("element"));
            source.vt = VT_ARRAY | VT_BSTR;
            source.parray = texts;
            const HRESULT hr = VariantCopy(&target, &source);
            EXPECT_EQ(hr, target.vt == source.vt && target.parray ? S_OK : E_OUTOFMEMORY);
        }
        VariantClear(&target);
        VariantClear(&source);
    });
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
        {"empty", SysAllocString(OLESTR("")), 0, OLESTR("")},
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
    EXPECT_FALSE(SysAllocString(nullptr));
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    EXPECT_FALSE(SysAllocStringLen(nullptr, 0x80000000u));
    SysFreeString(nullptr);
}

TEST(SafeArray, CreationByType) {
    const struct {
        VARTYPE vt;
        ULONG size;
        int features;
    } rows[] = {
        {VT_UI1, 1, 0},
        {VT_BOOL, 2, 0},
        {VT_R4, 4, 0},
        {VT_UINT, 4, 0},
        {VT_I8, 8, 0},
        {VT_DATE, 8, 0},
        {VT_DECIMAL, 16, 0},
        {VT_BSTR, sizeof(void*), FADF_BSTR},
        {VT_VARIANT, sizeof(VARIANT), FADF_VARIANT},
        {VT_UNKNOWN, sizeof(void*), FADF_UNKNOWN},
        {VT_DISPATCH, sizeof(void*), FADF_DISPATCH},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.vt);
        SAFEARRAYBOUND bounds[] = {{3, -1}, {4, 10}};
        SAFEARRAY* array = SafeArrayCreate(row.vt, 2, bounds);
        ASSERT_TRUE(array);
        EXPECT_EQ(SafeArrayGetElemsize(array), row.size);
        EXPECT_EQ(array->fFeatures & (FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT), row.features);
        EXPECT_EQ(SafeArrayGetDim(array), 2u);
        const std::string zeros(12 * row.size, '\0');
        EXPECT_EQ(memcmp(array->pvData, zeros.data(), zeros.size()), 0);
        LONG lower = 0, upper = 0;
        EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
        EXPECT_EQ(SafeArrayGetUBound(array, 2, &upper), S_OK);
        EXPECT_EQ(lower, -1);
        EXPECT_EQ(upper, 13);
        EXPECT_EQ(SafeArrayGetLBound(array, 3, &lower), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayGetUBound(array, 0, &upper), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    }
}

TEST(SafeArray, WhatIsRefusedAndLocked) {
    SAFEARRAYBOUND bounds[] = {{1, 0}};
    EXPECT_FALSE(SafeArrayCreate(VT_EMPTY, 1, bounds));
    EXPECT_FALSE(SafeArrayCreate(VT_I4, 0, bounds));
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
    EXPECT_EQ(SafeArrayGetDim(nullptr), 0u);
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 5, 0);  // empty is allowed
    ASSERT_TRUE(array);
    LONG upper = 0;
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
    EXPECT_EQ(upper, 4);
    EXPECT_EQ(SafeArrayUnaccessData(array), E_UNEXPECTED);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(nullptr, &data), E_INVALIDARG);
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(data, array->pvData);
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
        EXPECT_EQ(array->cDims, 1);
        EXPECT_EQ(array->fFeatures, 0);
        EXPECT_FALSE(array->pvData);
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

TEST(SafeArray, OwnsItsElements) {
    Counted object;
    object.references = 3;
    SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 1, 3);
    SAFEARRAY* mixed = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    SAFEARRAY *objectsCopy = nullptr, *mixedCopy = nullptr;
    static_cast<IUnknown**>(objects->pvData)[1] = &object;
    auto* const values = static_cast<VARIANT*>(mixed->pvData);
    values[0].vt = VT_UNKNOWN;
    values[0].punkVal = &object;
    values[1].vt = VT_BSTR;
    values[1].bstrVal = SysAllocString(OLESTR("text"));
    ASSERT_EQ(SafeArrayCopy(objects, &objectsCopy), S_OK);
    ASSERT_EQ(SafeArrayCopy(mixed, &mixedCopy), S_OK);
    EXPECT_EQ(object.references, 5);
    const VARIANT& copied = static_cast<VARIANT*>(mixedCopy->pvData)[1];
    EXPECT_NE(copied.bstrVal, values[1].bstrVal);
    EXPECT_EQ(probe::Show(copied), "\"text\"");
    for (SAFEARRAY* array : {objects, objectsCopy, mixed, mixedCopy}) EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    EXPECT_EQ(object.references, 1);
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
        HRESULT classCode;
        bool parsed;
    } rows[] = {
        {text, S_OK, S_OK, true},
        {OLESTR("{12345678-9abc-def0-0102-0304050607ff}"), S_OK, S_OK, true},
        {nullptr, S_OK, S_OK, false},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FG}"), CO_E_IIDSTRING, CO_E_CLASSSTRING, false},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FF"), E_INVALIDARG, CO_E_CLASSSTRING, false},
        {OLESTR("{12345678"), E_INVALIDARG, CO_E_CLASSSTRING, false},
        {OLESTR("(12345678-9ABC-DEF0-0102-0304050607FF)"), CO_E_IIDSTRING, CO_E_CLASSSTRING, false},
    };
    for (const auto& row : rows) {
        GUID parsed = IID_IUnknown, parsedClass = IID_IUnknown;
        EXPECT_EQ(IIDFromString(row.text, &parsed), row.code);
        EXPECT_EQ(CLSIDFromString(row.text, &parsedClass), row.classCode);
        if (row.code == S_OK) {
            EXPECT_TRUE(parsed == (row.parsed ? id : GUID{}));
            EXPECT_TRUE(parsedClass == parsed);
        }
    }
}

}  // namespace
