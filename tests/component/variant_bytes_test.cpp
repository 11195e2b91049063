// Bytes out of VARIANTs of every type, and byte VARIANTs made from bytes.
#include "com/variant_bytes.h"

#include <gtest/gtest.h>

#include "tests/support/module/late_bound.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

using com::ByteArrayMode, com::MakeByteArrayVariant, com::VariantByteView;

std::string Seen(const VARIANT* variant) {
    const VariantByteView view(variant);
    if (!view.Data()) return view.Size() == 0 ? "" : "(null with a size)";
    return view.Size() == 0 ? "(data without a size)"
                            : std::string(reinterpret_cast<const char*>(view.Data()), view.Size());
}

VARIANT Of(int type, const void* content) {
    VARIANT variant;
    V_VT(&variant) = static_cast<VARTYPE>(type);
    V_BYREF(&variant) = const_cast<void*>(content);
    return variant;
}

// The sixteen bytes that every scalar is a piece of.
alignas(16) const char kBytes[] = "abcdefghijklmnop";

const struct {
    size_t Size;
    std::vector<int> Types;  // 15 and 0xFFF are no types
} kScalars[] = {
    {0, {VT_EMPTY, VT_NULL, VT_VOID, VT_HRESULT, VT_PTR, VT_SAFEARRAY, VT_CARRAY, VT_USERDEFINED, VT_LPSTR, VT_LPWSTR}},
    {0, {VT_RECORD, VT_FILETIME, VT_CLSID, VT_DISPATCH, VT_UNKNOWN, 15, 0xFFF}},
    {1, {VT_I1, VT_UI1}},
    {2, {VT_I2, VT_UI2, VT_BOOL}},
    {4, {VT_I4, VT_UI4, VT_R4, VT_ERROR, VT_INT, VT_UINT}},
    {8, {VT_I8, VT_UI8, VT_R8, VT_CY, VT_DATE}},
    {16, {VT_DECIMAL}},
};

TEST(VariantByteView, ScalarsByValueAndByReference) {
    for (const auto& row : kScalars) {
        for (const int type : row.Types) {
            SCOPED_TRACE(type);
            const VARIANT byReference = Of(type | VT_BYREF, kBytes);
            EXPECT_EQ(Seen(&byReference), std::string(kBytes, row.Size));
            const VARIANT null = Of(type | VT_BYREF, nullptr);
            EXPECT_EQ(Seen(&null), "");

            VARIANT value;
            std::memset(&value, '-', sizeof(value));
            const bool decimal = type == VT_DECIMAL;  // it fills the whole VARIANT, its type word too
            std::memcpy(decimal ? static_cast<void*>(&value) : &V_UI1(&value), kBytes, decimal ? sizeof(DECIMAL) : 8);
            V_VT(&value) = static_cast<VARTYPE>(type);
            EXPECT_EQ(Seen(&value), std::string(decimal ? reinterpret_cast<const char*>(&value) : kBytes, row.Size));
        }
    }
    EXPECT_EQ(Seen(nullptr), "");
    VARIANT inner = Of(VT_VARIANT, &inner);  // no valid content: read as nothing
    EXPECT_EQ(Seen(&inner), "");
}

TEST(VariantByteView, StringsGiveTheirStoredBytes) {
    const std::string texts[] = {"a\0b\0"s, "x\0y"s, ""s};
    for (const std::string& bytes : texts) {
        Variant text;
        V_VT(text.Get()) = VT_BSTR;
        V_BSTR(text.Get()) = SysAllocStringByteLen(bytes.data(), static_cast<UINT>(bytes.size()));
        EXPECT_EQ(Seen(text.Get()), bytes);
        const VARIANT reference = Of(VT_BSTR | VT_BYREF, &V_BSTR(text.Get()));
        EXPECT_EQ(Seen(&reference), bytes);
    }
    const VARIANT null = Of(VT_BSTR, nullptr);
    EXPECT_EQ(Seen(&null), "");
    const VARIANT reference = Of(VT_BSTR | VT_BYREF, &V_BSTR(&null));
    EXPECT_EQ(Seen(&reference), "");
}

const struct {
    const char* Name;
    VARTYPE Type;
    std::vector<SAFEARRAYBOUND> Bounds;
    size_t Bytes;
} kArrays[] = {
    {"bytes", VT_UI1, {{5, 0}}, 5},
    {"lower bound 1", VT_UI1, {{5, 1}}, 5},
    {"negative lower bound", VT_UI1, {{5, -3}}, 5},
    {"16-bit elements", VT_I2, {{3, 0}}, 6},
    {"two dimensions", VT_UI1, {{2, 0}, {3, 1}}, 6},
    {"three dimensions of doubles", VT_R8, {{2, 0}, {1, 0}, {3, 7}}, 48},
    {"no elements", VT_UI1, {{0, 0}}, 0},
    {"no elements in one of two dimensions", VT_I4, {{0, 0}, {4, 0}}, 0},
};

TEST(VariantByteView, ArraysAreLockedWhileTheyAreSeen) {
    for (const auto& row : kArrays) {
        SCOPED_TRACE(row.Name);
        std::vector<SAFEARRAYBOUND> bounds = row.Bounds;
        SAFEARRAY* array = SafeArrayCreate(row.Type, static_cast<UINT>(bounds.size()), bounds.data());
        ASSERT_TRUE(array);
        const std::string content = std::string(kBytes).append(32, 'z').substr(0, row.Bytes);
        if (row.Bytes != 0) std::memcpy(array->pvData, content.data(), row.Bytes);
        for (const VARIANT& variant : {Of(VT_ARRAY | row.Type, array), Of(VT_ARRAY | VT_BYREF | row.Type, &array)}) {
            {
                const VariantByteView view(&variant);
                EXPECT_EQ(array->cLocks, row.Bytes != 0 ? 1u : 0u);
                EXPECT_EQ(view.Data(), row.Bytes != 0 ? array->pvData : nullptr);  // read in place
                EXPECT_EQ(Seen(&variant), content);
            }
            EXPECT_EQ(array->cLocks, 0u);
        }
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    }
    const VARIANT null = Of(VT_ARRAY | VT_UI1, nullptr);
    EXPECT_EQ(Seen(&null), "");
}

// A size that 32 bits cannot tell is no size: nothing is seen.
TEST(VariantByteView, ArraysTooLargeToCountGiveNothing) {
    for (const ULONG elements : {0x40000001u, 0xFFFFFFFFu, 0x80000000u}) {
        BYTE byte = 0;
        SAFEARRAY array = {};
        array.cDims = 1;
        array.fFeatures = FADF_STATIC | FADF_FIXEDSIZE;
        array.cbElements = 4;
        array.pvData = &byte;
        array.rgsabound[0] = {elements, 0};
        const VARIANT variant = Of(VT_ARRAY | VT_I4, &array);
        EXPECT_EQ(Seen(&variant), "");
        EXPECT_EQ(array.cLocks, 0u);
    }
}

TEST(VariantByteView, ReferencesToVariantsAreFollowedButNotForEver) {
    Variant bytes = Variant::Bytes("deep");
    VARIANT chain[12];
    for (size_t i = 0; i < std::size(chain); ++i)
        chain[i] = Of(VT_VARIANT | VT_BYREF, i + 1 < std::size(chain) ? &chain[i + 1] : bytes.Get());
    EXPECT_EQ(Seen(&chain[11]), "deep");
    EXPECT_EQ(Seen(&chain[0]), "deep");
    V_VARIANTREF(&chain[11]) = &chain[0];
    EXPECT_EQ(Seen(&chain[0]), "");
    V_VARIANTREF(&chain[3]) = nullptr;
    EXPECT_EQ(Seen(&chain[0]), "");
}

TEST(MakeByteArrayVariant, CopiesOrAdopts) {
    for (const ByteArrayMode mode : {ByteArrayMode::Copy, ByteArrayMode::Adopt}) {
        BYTE* const block = static_cast<BYTE*>(CoTaskMemAlloc(4));
        std::memcpy(block, "wxyz", 4);
        Variant made;
        ASSERT_EQ(MakeByteArrayVariant(4, block, made.Put(), mode), S_OK);
        EXPECT_EQ(made.Show(), "bytes wxyz");
        const bool adopted = mode == ByteArrayMode::Adopt;
        EXPECT_EQ(V_ARRAY(made.Get())->pvData == block, adopted);
        EXPECT_EQ(V_ARRAY(made.Get())->fFeatures & (FADF_AUTO | FADF_STATIC | FADF_EMBEDDED), 0);
        if (!adopted) CoTaskMemFree(block);
        // Without bytes or a result; what the result held before is not looked at.
        BYTE byte = 'x';
        for (const DWORD size : {0u, 1u}) {
            VARIANT none;
            std::memset(&none, 0xCC, sizeof(none));
            EXPECT_EQ(MakeByteArrayVariant(size, size == 0 ? &byte : nullptr, &none, mode), S_OK);
            EXPECT_EQ(V_VT(&none), VT_EMPTY);
        }
        EXPECT_EQ(MakeByteArrayVariant(1, &byte, nullptr, mode), E_UNEXPECTED);
    }
}

}  // namespace
}  // namespace talvo::test
