// Bytes out of VARIANTs of every type, and byte VARIANTs made from bytes.
#include "component/variant_bytes.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/component/variants.h"

namespace talvo::test {
namespace {

std::string Seen(const VARIANT* variant) {
    const VariantByteView view(variant);
    if (!view.Data()) return view.Size() == 0 ? "" : "(null with a size)";
    return view.Size() == 0 ? "(data without a size)"
                            : std::string(reinterpret_cast<const char*>(view.Data()), view.Size());
}

// The sixteen bytes that every scalar is a piece of.
alignas(16) const char kBytes[] = "abcdefghijklmnop";

const struct {
    VARTYPE Type;
    size_t Size;
} kScalars[] = {
    {VT_EMPTY, 0},       {VT_NULL, 0},    {VT_I1, 1},      {VT_UI1, 1},    {VT_I2, 2},        {VT_UI2, 2},
    {VT_BOOL, 2},        {VT_I4, 4},      {VT_UI4, 4},     {VT_R4, 4},     {VT_ERROR, 4},     {VT_INT, 4},
    {VT_UINT, 4},        {VT_I8, 8},      {VT_UI8, 8},     {VT_R8, 8},     {VT_CY, 8},        {VT_DATE, 8},
    {VT_DECIMAL, 16},    {VT_VOID, 0},    {VT_HRESULT, 0}, {VT_PTR, 0},    {VT_SAFEARRAY, 0}, {VT_CARRAY, 0},
    {VT_USERDEFINED, 0}, {VT_LPSTR, 0},   {VT_LPWSTR, 0},  {VT_RECORD, 0}, {VT_FILETIME, 0},  {VT_CLSID, 0},
    {VT_DISPATCH, 0},    {VT_UNKNOWN, 0}, {15, 0},         {0xFFF, 0},
};

TEST(VariantByteView, ScalarsByValueAndByReference) {
    for (const auto& row : kScalars) {
        SCOPED_TRACE(row.Type);
        VARIANT byReference;
        V_VT(&byReference) = static_cast<VARTYPE>(row.Type | VT_BYREF);
        V_BYREF(&byReference) = const_cast<char*>(kBytes);
        EXPECT_EQ(Seen(&byReference), std::string(kBytes, row.Size));
        V_BYREF(&byReference) = nullptr;
        EXPECT_EQ(Seen(&byReference), "");

        VARIANT value;
        std::memset(&value, '-', sizeof(value));
        if (row.Type == VT_DECIMAL) {  // it fills the whole VARIANT, its type word too
            std::memcpy(&value, kBytes, sizeof(DECIMAL));
            V_VT(&value) = VT_DECIMAL;
            const std::string expected(reinterpret_cast<const char*>(&value), sizeof(DECIMAL));
            EXPECT_EQ(Seen(&value), expected);
            continue;
        }
        V_VT(&value) = row.Type;
        std::memcpy(&V_UI1(&value), kBytes, 8);
        EXPECT_EQ(Seen(&value), std::string(kBytes, row.Size));
    }
    EXPECT_EQ(Seen(nullptr), "");
    VARIANT inner;  // no valid content: read as nothing
    V_VT(&inner) = VT_VARIANT;
    V_VARIANTREF(&inner) = &inner;
    EXPECT_EQ(Seen(&inner), "");
}

TEST(VariantByteView, StringsGiveTheirStoredBytes) {
    using namespace std::string_literals;
    Variant text = Variant::Text("ab");
    EXPECT_EQ(Seen(text.Get()), "a\0b\0"s);
    VARIANT reference;
    V_VT(&reference) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&reference) = &V_BSTR(text.Get());
    EXPECT_EQ(Seen(&reference), "a\0b\0"s);

    Variant odd;  // three bytes, a zero among them
    V_VT(odd.Get()) = VT_BSTR;
    V_BSTR(odd.Get()) = SysAllocStringByteLen("x\0y", 3);
    EXPECT_EQ(Seen(odd.Get()), "x\0y"s);
    EXPECT_EQ(Seen(Variant::Text("").Get()), "");
    Variant null;
    V_VT(null.Get()) = VT_BSTR;
    V_BSTR(null.Get()) = nullptr;
    EXPECT_EQ(Seen(null.Get()), "");
    V_BSTRREF(&reference) = &V_BSTR(null.Get());
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
        VARIANT variant;
        for (const VARTYPE byReference : {VARTYPE{0}, VARTYPE{VT_BYREF}}) {
            V_VT(&variant) = static_cast<VARTYPE>(VT_ARRAY | row.Type | byReference);
            byReference ? void(V_ARRAYREF(&variant) = &array) : void(V_ARRAY(&variant) = array);
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
    VARIANT null;
    V_VT(&null) = VT_ARRAY | VT_UI1;
    V_ARRAY(&null) = nullptr;
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
        VARIANT variant;
        V_VT(&variant) = VT_ARRAY | VT_I4;
        V_ARRAY(&variant) = &array;
        EXPECT_EQ(Seen(&variant), "");
        EXPECT_EQ(array.cLocks, 0u);
    }
}

TEST(VariantByteView, ReferencesToVariantsAreFollowedButNotForEver) {
    Variant bytes = Variant::Bytes("deep");
    VARIANT chain[12];
    for (size_t i = 0; i < std::size(chain); ++i) {
        V_VT(&chain[i]) = VT_VARIANT | VT_BYREF;
        V_VARIANTREF(&chain[i]) = i + 1 < std::size(chain) ? &chain[i + 1] : bytes.Get();
    }
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

        // The client may copy, grow and clear it like any other array.
        Variant copy(made);
        EXPECT_EQ(copy.Show(), "bytes wxyz");
        EXPECT_EQ(VariantClear(made.Get()), S_OK);
        EXPECT_EQ(made.Show(), "(empty)");
        EXPECT_EQ(copy.Show(), "bytes wxyz");
    }
}

TEST(MakeByteArrayVariant, WithoutBytesOrResult) {
    BYTE byte = 'x';
    for (const ByteArrayMode mode : {ByteArrayMode::Copy, ByteArrayMode::Adopt}) {
        VARIANT made;
        std::memset(&made, 0xCC, sizeof(made));  // earlier content is not looked at
        EXPECT_EQ(MakeByteArrayVariant(0, &byte, &made, mode), S_OK);
        EXPECT_EQ(V_VT(&made), VT_EMPTY);
        std::memset(&made, 0xCC, sizeof(made));
        EXPECT_EQ(MakeByteArrayVariant(1, nullptr, &made, mode), S_OK);
        EXPECT_EQ(V_VT(&made), VT_EMPTY);
        EXPECT_EQ(MakeByteArrayVariant(1, &byte, nullptr, mode), E_UNEXPECTED);
    }
}

}  // namespace
}  // namespace talvo::test
