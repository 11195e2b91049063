// The task allocator with its observer, and strings, which come from it.
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>

#include "tests/support/allocation_faults.h"

namespace {

using Text = std::basic_string<OLECHAR>;

// Lets `allowed` allocations pass and fails those after it.
class FailingSpy final : public IMallocSpy {
public:
    int allowed = 0;
    int live = 0;
    int references = 0;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IMallocSpy || riid == IID_IUnknown ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override { return Admit(size); }
    STDMETHODIMP_(void*) PostAlloc(void* block) override { return live += block != nullptr, block; }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL known) override { return live -= known ? 1 : 0, block; }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** request, BOOL) override {
        *request = block;
        return Admit(size);
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int answer) override { return answer; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}

private:
    SIZE_T Admit(SIZE_T size) { return allowed-- > 0 ? size : 0; }
};

TEST(TaskMemory, SizesAndContent) {
    IMalloc* allocator = nullptr;
    EXPECT_EQ(CoGetMalloc(0, &allocator), E_INVALIDARG);
    ASSERT_EQ(CoGetMalloc(1, &allocator), S_OK);
    auto* block = static_cast<char*>(CoTaskMemAlloc(3));
    ASSERT_TRUE(block);
    EXPECT_GE(allocator->GetSize(block), 3u);
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
    EXPECT_EQ(allocator->GetSize(nullptr), static_cast<SIZE_T>(-1));
    EXPECT_EQ(allocator->DidAlloc(nullptr), -1);
    EXPECT_FALSE(CoTaskMemAlloc(static_cast<SIZE_T>(-1) / 2));
    allocator->Release();
}

TEST(TaskMemory, ObserverComesAndGoes) {
    FailingSpy spy;
    spy.allowed = 2;
    void* before = CoTaskMemAlloc(1);
    EXPECT_EQ(CoRevokeMallocSpy(), CO_E_OBJNOTREG);
    EXPECT_EQ(CoRegisterMallocSpy(nullptr), E_INVALIDARG);
    ASSERT_EQ(CoRegisterMallocSpy(&spy), S_OK);
    EXPECT_EQ(CoRegisterMallocSpy(&spy), CO_E_OBJISREG);
    void* during = CoTaskMemAlloc(1);
    during = CoTaskMemRealloc(during, 1000);
    ASSERT_TRUE(during);
    EXPECT_FALSE(CoTaskMemAlloc(1));
    EXPECT_FALSE(CoTaskMemRealloc(before, 2000));  // the old block stays
    CoTaskMemFree(before);
    EXPECT_EQ(spy.live, 1);
    EXPECT_EQ(CoRevokeMallocSpy(), E_ACCESSDENIED);  // leaves with the last block it knows
    EXPECT_EQ(spy.references, 1);
    CoTaskMemFree(during);
    EXPECT_EQ(spy.live, 0);
    EXPECT_EQ(spy.references, 0);
    EXPECT_EQ(CoRevokeMallocSpy(), CO_E_OBJNOTREG);
}

// What hands memory to a caller either succeeds or says so and hands over nothing.
TEST(TaskMemory, EveryAllocationCanFail) {
    talvo::test::ForEachFailingAllocation([](talvo::test::AllocationFaults&) {
        SAFEARRAYBOUND bounds[] = {{3, 0}, {2, 1}};
        SAFEARRAY* grid = SafeArrayCreate(VT_I2, 2, bounds);
        SAFEARRAY* texts = SafeArrayCreateVector(VT_BSTR, 0, 2);
        SAFEARRAY* copy = nullptr;
        LPOLESTR identifier = nullptr;
        VARIANT source, target;
        VariantInit(&source);
        VariantInit(&target);
        HRESULT hr = StringFromCLSID(IID_IUnknown, &identifier);
        EXPECT_EQ(hr, identifier ? S_OK : E_OUTOFMEMORY);
        BSTR element = SysAllocString(OLESTR("element"));
        LONG index = 1;
        if (texts && element) {
            hr = SafeArrayPutElement(texts, &index, element);
            EXPECT_EQ(hr, static_cast<BSTR*>(texts->pvData)[1] ? S_OK : E_OUTOFMEMORY);
            hr = SafeArrayCopy(texts, &copy);
            EXPECT_EQ(hr, copy ? S_OK : E_OUTOFMEMORY);
            source.vt = VT_ARRAY | VT_BSTR;
            source.parray = texts;
            hr = VariantCopy(&target, &source);
            EXPECT_EQ(hr, target.vt == source.vt && target.parray ? S_OK : E_OUTOFMEMORY);
        }
        VariantClear(&target);
        SysFreeString(element);
        CoTaskMemFree(identifier);
        SafeArrayDestroy(copy);
        SafeArrayDestroy(texts);
        SafeArrayDestroy(grid);
    });
}

TEST(Strings, LengthsAndContent) {
    const OLECHAR source[] = {'a', 0, 'b', 'c', 0};
    BSTR text = SysAllocStringLen(source, 4);
    ASSERT_TRUE(text);
    EXPECT_EQ(SysStringLen(text), 4u);
    EXPECT_EQ(Text(text, 5), Text(source, 5));  // with its terminator
    EXPECT_EQ(reinterpret_cast<const UINT*>(text)[-1], 8u);
    SysFreeString(text);

    text = SysAllocStringByteLen("odd", 3);
    EXPECT_EQ(SysStringByteLen(text), 3u);
    EXPECT_EQ(SysStringLen(text), 1u);
    EXPECT_EQ(memcmp(text, "odd\0", 4), 0);
    SysFreeString(text);

    text = SysAllocString(OLESTR(""));
    ASSERT_TRUE(text);
    EXPECT_EQ(SysStringLen(text), 0u);
    EXPECT_EQ(text[0], 0);
    SysFreeString(text);

    EXPECT_FALSE(SysAllocString(nullptr));
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    EXPECT_FALSE(SysAllocStringLen(nullptr, 0x80000000u));
    SysFreeString(nullptr);
    text = SysAllocStringByteLen(nullptr, 4);
    EXPECT_EQ(SysStringByteLen(text), 4u);
    SysFreeString(text);
}

TEST(Strings, Reallocation) {
    BSTR text = nullptr;
    EXPECT_TRUE(SysReAllocString(&text, OLESTR("first")));
    EXPECT_TRUE(SysReAllocStringLen(&text, OLESTR("second and longer"), 6));
    EXPECT_EQ(Text(text), OLESTR("second"));
    EXPECT_TRUE(SysReAllocStringLen(&text, text + 2, 3));  // the source may be the string itself
    EXPECT_EQ(SysStringLen(text), 3u);
    EXPECT_EQ(Text(text), OLESTR("con"));
    EXPECT_FALSE(SysReAllocString(nullptr, OLESTR("x")));
    SysFreeString(text);
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
        bool parsed;
    } rows[] = {
        {text, S_OK, true},
        {OLESTR("{12345678-9abc-def0-0102-0304050607ff}"), S_OK, true},
        {nullptr, S_OK, false},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FG}"), CO_E_IIDSTRING, false},
        {OLESTR("{12345678-9ABC-DEF0-0102-0304050607FF"), E_INVALIDARG, false},
        {OLESTR("{12345678"), E_INVALIDARG, false},
        {OLESTR("(12345678-9ABC-DEF0-0102-0304050607FF)"), CO_E_IIDSTRING, false},
    };
    for (const auto& row : rows) {
        IID parsed = IID_IUnknown;
        EXPECT_EQ(IIDFromString(row.text, &parsed), row.code);
        if (row.code == S_OK) {
            EXPECT_TRUE(parsed == (row.parsed ? id : GUID{}));
        }
    }
    CLSID parsed;
    EXPECT_EQ(CLSIDFromString(OLESTR("{12345678-9ABC}"), &parsed), CO_E_CLASSSTRING);
    EXPECT_EQ(CLSIDFromString(OLESTR("{12345678-9ABC-DEF0-0102-0304050607FF}"), &parsed), S_OK);
    EXPECT_TRUE(parsed == id);
}

}  // namespace
