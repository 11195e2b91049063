// Limits of the allocator and of arrays that other implementations draw elsewhere.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

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
    SafeArrayLock(v.parray);
    EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(v.vt, VT_ARRAY | VT_UI1);
    SafeArrayUnlock(v.parray);
    EXPECT_EQ(VariantClear(&v), S_OK);
}

TEST(NativeMemory, FailedReallocationKeepsTheBlock) {
    IMalloc* allocator = nullptr;
    ASSERT_EQ(CoGetMalloc(MEMCTX_TASK, &allocator), S_OK);
    void* block = allocator->Alloc(16);
    EXPECT_FALSE(allocator->Realloc(block, static_cast<SIZE_T>(1) << 45));
    EXPECT_GE(allocator->GetSize(block), 16u);
    allocator->Free(block);
}

}  // namespace
