// What automation owns and converts: VARIANTs, arrays, memory, identifiers, error information.
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "tests/support/allocation_faults.h"
#include "tests/support/code_name.h"
#include "tests/support/text.h"
#include "tests/support/variant.h"

namespace {

using namespace talvo::test;

class Counted final : public IUnknown {
public:
    LONG references = 1;
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
};

TEST(Automation, VariantsOwnWhatTheyHold) {
    Counted object;
    {
        Variant source = Variant::Of(VT_UNKNOWN), target;
        source.Get()->punkVal = &object;
        object.AddRef();
        Variant copy = source;
        EXPECT_EQ(VariantCopy(copy.Get(), copy.Get()), S_OK);
        EXPECT_EQ(object.references, 3);
        Variant reference = Variant::Ref(VT_UNKNOWN, &copy.Get()->punkVal);
        EXPECT_EQ(VariantCopyInd(target.Get(), reference.Get()), S_OK);
        EXPECT_EQ(target.Get()->vt, VT_UNKNOWN);
        EXPECT_EQ(VariantChangeType(target.Get(), source.Get(), 0, VT_DISPATCH), E_NOINTERFACE);
        EXPECT_EQ(VariantChangeType(target.Get(), source.Get(), 0, VT_I4), DISP_E_TYPEMISMATCH);
        EXPECT_EQ(object.references, 4);
        EXPECT_EQ(VariantCopyInd(source.Get(), reference.Get()), S_OK);
    }
    EXPECT_EQ(object.references, 1);

    Variant number = 70000, first = Variant::Ref(VT_VARIANT, number.Get()),
            second = Variant::Ref(VT_VARIANT, first.Get());
    EXPECT_EQ(VariantCopyInd(number.Get(), second.Get()), E_INVALIDARG) << "one level only";
    Variant toOwn = Variant::Ref(VT_I4, &number.Get()->lVal);
    EXPECT_EQ(VariantChangeType(number.Get(), toOwn.Get(), 0, VT_BSTR), S_OK);  // the source lies in the destination
    EXPECT_EQ(number.Show(), "\"70000\"");
    for (const int vt : {15, int{VT_ARRAY}, VT_BYREF | VT_NULL, VT_VECTOR | VT_I4}) {
        Variant odd = Variant::Of(static_cast<VARTYPE>(vt)), copy;
        EXPECT_EQ(VariantCopy(copy.Get(), odd.Get()), DISP_E_BADVARTYPE) << vt;
        EXPECT_EQ(VariantClear(odd.Get()), DISP_E_BADVARTYPE) << vt;
    }
}

// The value as text, or why there is none.
std::string Converted(Variant source, VARTYPE vt) {
    Variant target;
    const HRESULT code = VariantChangeType(target.Get(), source.Get(), 0, vt);
    EXPECT_EQ(target.Get()->vt, code == S_OK ? vt : VARTYPE{VT_EMPTY});
    if (code != S_OK) return Name(code);
    EXPECT_EQ(VariantChangeType(target.Get(), target.Get(), 0, VT_BSTR), S_OK);
    return Narrow({V_BSTR(target.Get()), SysStringLen(V_BSTR(target.Get()))});
}

TEST(Automation, NumbersAndTextEachWay) {
    Variant single = Variant::Of(VT_R4);
    single.Get()->fltVal = 16777216;
    const struct {
        Variant source;
        VARTYPE vt;
        std::string outcome;
    } rows[] = {
        {Variant::Of(VT_I1, 0xfb), VT_I4, "-5"},
        {Variant::Of(VT_UI4, 0xffffffff), VT_I4, "-1"},
        {Variant::Of(VT_UI4, 0x8000), VT_I2, "DISP_E_OVERFLOW"},
        {Variant::Of(VT_I8, -1), VT_UI4, "DISP_E_OVERFLOW"},
        {Variant::Of(VT_UI8, -1), VT_I4, "DISP_E_OVERFLOW"},
        {Variant::Of(VT_UI8, -1), VT_BSTR, "18446744073709551615"},
        {Variant::Real(2.5), VT_I4, "2"},
        {Variant::Real(32767.5), VT_I2, "DISP_E_OVERFLOW"},
        {Variant::Real(-0.5), VT_UI4, "0"},
        {Variant::Real(-0.6), VT_UI4, "DISP_E_OVERFLOW"},
        {Variant::Real(-2147483648.5), VT_I4, "-2147483648"},
        {Variant::Real(2147483647.5), VT_I4, "DISP_E_OVERFLOW"},
        {Variant::Real(0.001), VT_BOOL, "-1"},
        {Variant::Real(-0.0), VT_BSTR, "0"},
        {Variant::Real(1.0 / 3), VT_BSTR, "0.333333333333333"},
        {Variant::Real(1e15), VT_BSTR, "1E+15"},
        {single, VT_BSTR, "1.677722E+07"},
        {Variant::Truth(true), VT_UI4, "4294967295"},
        {300, VT_BOOL, "-1"},
        {Variant(), VT_I4, "0"},
        {Variant(), VT_BSTR, ""},
        {Variant::Of(VT_NULL), VT_I4, "DISP_E_TYPEMISMATCH"},
        {5, VT_ARRAY | VT_I4, "DISP_E_TYPEMISMATCH"},
        {5, VT_VOID, Name(DISP_E_BADVARTYPE)},
        {OLESTR(" - 5 "), VT_I4, "-5"},
        {OLESTR("\t+1,234\n"), VT_I2, "1234"},
        {OLESTR("5."), VT_I4, "5"},
        {OLESTR(".5e1"), VT_I4, "5"},
        {OLESTR("1e-400"), VT_I4, "0"},
        {OLESTR("1e400"), VT_I4, "DISP_E_OVERFLOW"},
        {OLESTR("4294967295"), VT_UI4, "4294967295"},
        {OLESTR("-1"), VT_UI4, "DISP_E_OVERFLOW"},
        {OLESTR(""), VT_I4, "DISP_E_TYPEMISMATCH"},
        {OLESTR("1e"), VT_I4, "DISP_E_TYPEMISMATCH"},
        {OLESTR("--1"), VT_I4, "DISP_E_TYPEMISMATCH"},
        {OLESTR("1 2"), VT_I4, "DISP_E_TYPEMISMATCH"},
        {OLESTR("inf"), VT_I4, "DISP_E_TYPEMISMATCH"},
        {OLESTR("tRUE"), VT_BOOL, "-1"},
        {OLESTR("#FALSE#"), VT_BOOL, "0"},
        {OLESTR("0.0"), VT_BOOL, "0"},
        {Variant::Of(VT_BSTR), VT_BSTR, ""},
    };
    for (const auto& row : rows) EXPECT_EQ(Converted(row.source, row.vt), row.outcome) << row.source.Show();
}

TEST(Automation, BytesBecomeAString) {
    Variant bytes = Variant::Bytes("abc");
    EXPECT_EQ(VariantChangeType(bytes.Get(), bytes.Get(), 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(bytes.Show(), "bytes abc") << "kept on failure";
    EXPECT_EQ(VariantChangeType(bytes.Get(), bytes.Get(), 0, VT_BSTR), S_OK);
    EXPECT_EQ(SysStringByteLen(V_BSTR(bytes.Get())), 3u);
    EXPECT_EQ(std::memcmp(V_BSTR(bytes.Get()), "abc", 3), 0);
}

// Of two dimensions the descriptor lists the last first.
TEST(Automation, ArraysOfTwoDimensions) {
    SAFEARRAYBOUND bounds[] = {{3, -1}, {4, 10}};
    SAFEARRAY* array = SafeArrayCreate(VT_I2, 2, bounds);
    ASSERT_TRUE(array);
    LONG lower = 0, upper = 0;
    EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(array, 2, &upper), S_OK);
    EXPECT_EQ(lower, -1);
    EXPECT_EQ(upper, 13);
    EXPECT_EQ(SafeArrayGetUBound(array, 0, &upper), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayUnaccessData(array), E_UNEXPECTED);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(Automation, TheObserverOfMemorySeesAndRefuses) {
    EXPECT_EQ(CoRevokeMallocSpy(), CO_E_OBJNOTREG);
    void* before = CoTaskMemAlloc(1);
    {
        AllocationFaults faults;
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

TEST(Automation, IdentifiersAsText) {
    const struct {
        const OLECHAR* text;
        HRESULT code;
    } rows[] = {
        {OLESTR("{12345678-9abc-DEF0-0102-0304050607ff}"), S_OK},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FG}"), CO_E_IIDSTRING},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FF"), E_INVALIDARG},
        {OLESTR("(12345678-9ABC-DEF0-0102-0304050607FF)"), CO_E_IIDSTRING},
    };
    for (const auto& row : rows) {
        GUID id = {};
        EXPECT_EQ(IIDFromString(row.text, &id), row.code);
        if (row.code != S_OK) continue;
        OLECHAR text[40];
        EXPECT_EQ(StringFromGUID2(id, text, 38), 0);
        EXPECT_EQ(GuidText(id), "{12345678-9ABC-DEF0-0102-0304050607FF}");
    }
}

TEST(Automation, ErrorInformationBelongsToItsThread) {
    ICreateErrorInfo* fill = nullptr;
    IErrorInfo *info = nullptr, *got = nullptr;
    ASSERT_EQ(CreateErrorInfo(&fill), S_OK);
    ASSERT_EQ(fill->QueryInterface(IID_PPV_ARGS(&info)), S_OK);
    fill->Release();
    SetErrorInfo(0, info);
    std::thread([info] {
        IErrorInfo* none = nullptr;
        EXPECT_EQ(GetErrorInfo(0, &none), S_FALSE);
        SetErrorInfo(0, info);  // released when the thread ends
    }).join();
    EXPECT_EQ(GetErrorInfo(0, &got), S_OK);
    EXPECT_EQ(got, info);
    got->Release();
    EXPECT_EQ(info->Release(), 0u);
}

}  // namespace
