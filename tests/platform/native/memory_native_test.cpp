// Limits of the allocator and of arrays that other implementations draw elsewhere.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"

namespace {

TEST(NativeMemory, ArraysBeyondFourGigabytesAreRefused) {
    SAFEARRAYBOUND huge[] = {{0x10000, 0}, {0x10000, 0}};
    EXPECT_FALSE(SafeArrayCreate(VT_I1, 2, huge));
    EXPECT_FALSE(SafeArrayCreateVector(VT_VARIANT, 0, 0x20000000));
}

TEST(NativeMemory, LockedArraySurvivesClearing) {
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_ARRAY | VT_UI1;
    v.parray = SafeArrayCreateVector(VT_UI1, 0, 1);
    void* data = nullptr;
    SafeArrayAccessData(v.parray, &data);
    EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(v.vt, VT_ARRAY | VT_UI1);
    SafeArrayUnaccessData(v.parray);
    EXPECT_EQ(VariantClear(&v), S_OK);
}

TEST(NativeMemory, FailedReallocationKeepsTheBlock) {
    auto* const block = static_cast<char*>(CoTaskMemAlloc(16));
    EXPECT_FALSE(CoTaskMemRealloc(block, static_cast<SIZE_T>(1) << 45));
    block[15] = 'x';
    CoTaskMemFree(block);
}

// What the stand-in allocates for itself: a failure becomes the caller's error, never an exception.
TEST(NativeMemory, ItsOwnAllocationsMayFail) {
    const auto story = [](talvo::test::AllocationFaults&) {
        ICreateErrorInfo* info = nullptr;
        HRESULT hr = CreateErrorInfo(&info);
        EXPECT_EQ(hr, info ? S_OK : E_OUTOFMEMORY);
        if (info) {
            hr = info->SetDescription(const_cast<LPOLESTR>(OLESTR("longer than what a string keeps in itself")));
            EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY);
            info->Release();
        }
        char name[1024];
        if (GetModuleFileNameA(nullptr, name, sizeof name) == 0) {
            EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
        }
        EXPECT_FALSE(LoadLibraryW(OLESTR("no_such_folder/a_name_that_needs_room_of_its_own.so")));
        const DWORD error = GetLastError();
        EXPECT_TRUE(error == ERROR_MOD_NOT_FOUND || error == ERROR_NOT_ENOUGH_MEMORY);
    };
    talvo::test::ForEachFailingAllocation(story, talvo::test::FaultKind::New);
}

}  // namespace
