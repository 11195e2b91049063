// Arrays and allocations where other implementations draw the line elsewhere.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"
#include "tests/support/variant.h"

namespace {

using namespace talvo::test;

TEST(NativeAutomation, ArraysThatAreRefused) {
    SAFEARRAYBOUND huge[] = {{0x10000, 0}, {0x10000, 0}};
    EXPECT_FALSE(SafeArrayCreate(VT_I1, 2, huge)) << "4 GiB";
    EXPECT_FALSE(SafeArrayCreateVector(VT_VARIANT, 0, 1)) << "elements that own something";
    Variant v = Variant::Bytes("x"), copy;
    V_ARRAY(v.Get())->fFeatures |= FADF_BSTR;
    EXPECT_EQ(VariantCopy(copy.Get(), v.Get()), E_INVALIDARG);
    EXPECT_EQ(VariantClear(v.Get()), E_INVALIDARG);
    V_ARRAY(v.Get())->fFeatures = 0;
    V_ARRAY(v.Get())->cLocks = 1;
    EXPECT_EQ(VariantClear(v.Get()), DISP_E_ARRAYISLOCKED);
    V_ARRAY(v.Get())->cLocks = 0;
    EXPECT_EQ(v.Show(), "bytes x");
}

// What the stand-in allocates for itself: a failure becomes the caller's error, never an exception.
TEST(NativeAutomation, ItsOwnAllocationsMayFail) {
    const auto story = [](AllocationFaults&) {
        Variant text(u"1234567890123456789012345678901234567890"), number;
        const HRESULT hr = VariantChangeType(number.Get(), text.Get(), 0, VT_I4);
        EXPECT_TRUE(hr == DISP_E_OVERFLOW || hr == E_OUTOFMEMORY);
        EXPECT_FALSE(LoadLibraryW(u"no_such_folder/a_name_that_needs_room_of_its_own.so"));
        EXPECT_TRUE(GetLastError() == ERROR_MOD_NOT_FOUND || GetLastError() == ERROR_NOT_ENOUGH_MEMORY);
    };
    ForEachFailingAllocation(story, FaultKind::New);
}

}  // namespace
