// Arrays and allocations where other implementations draw the line elsewhere.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"

namespace {

TEST(NativeMemory, ArraysThatAreRefused) {
    SAFEARRAYBOUND huge[] = {{0x10000, 0}, {0x10000, 0}};
    EXPECT_FALSE(SafeArrayCreate(VT_I1, 2, huge)) << "4 GiB";
    EXPECT_FALSE(SafeArrayCreateVector(VT_VARIANT, 0, 1)) << "elements that own something";
    VARIANT v = {}, copy = {};
    v.vt = VT_ARRAY | VT_UI1;
    v.parray = SafeArrayCreateVector(VT_UI1, 0, 1);
    v.parray->fFeatures |= FADF_BSTR;
    EXPECT_EQ(VariantCopy(&copy, &v), E_INVALIDARG);
    EXPECT_EQ(copy.vt, VT_EMPTY);
    EXPECT_EQ(VariantClear(&v), E_INVALIDARG);
    v.parray->fFeatures = 0;
    v.parray->cLocks = 1;
    EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(v.vt, VT_ARRAY | VT_UI1);
    v.parray->cLocks = 0;
    EXPECT_EQ(VariantClear(&v), S_OK);
    BYTE own[] = "bytes";
    v.vt = VT_ARRAY | VT_UI1;
    ASSERT_EQ(SafeArrayAllocDescriptor(1, &v.parray), S_OK);
    v.parray->fFeatures = FADF_STATIC;
    v.parray->pvData = own;
    EXPECT_EQ(VariantClear(&v), S_OK) << "data of the caller's own stays";
}

// What the stand-in allocates for itself: a failure becomes the caller's error, never an exception.
TEST(NativeMemory, ItsOwnAllocationsMayFail) {
    const auto story = [](talvo::test::AllocationFaults&) {
        VARIANT text = {}, number = {};
        text.vt = VT_BSTR;
        text.bstrVal = SysAllocString(u"1234567890123456789012345678901234567890");
        const HRESULT hr = VariantChangeType(&number, &text, 0, VT_I4);
        EXPECT_TRUE(hr == DISP_E_OVERFLOW || hr == E_OUTOFMEMORY);
        VariantClear(&text);
        EXPECT_FALSE(LoadLibraryW(u"no_such_folder/a_name_that_needs_room_of_its_own.so"));
        EXPECT_TRUE(GetLastError() == ERROR_MOD_NOT_FOUND || GetLastError() == ERROR_NOT_ENOUGH_MEMORY);
    };
    talvo::test::ForEachFailingAllocation(story, talvo::test::FaultKind::New);
}

}  // namespace
