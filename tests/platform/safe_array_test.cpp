// SAFEARRAY: what creation sets, who frees what, locks, elements and copies.
#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using Text = std::basic_string<OLECHAR>;

class Counted : public IUnknown {
public:
    LONG references = 1;
    STDMETHODIMP QueryInterface(REFIID, void** object) override { return *object = nullptr, E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
};

TEST(SafeArray, CreationByType) {
    const struct {
        VARTYPE vt;
        ULONG size;
        USHORT features;
    } rows[] = {
        {VT_UI1, 1, FADF_HAVEVARTYPE},
        {VT_BOOL, 2, FADF_HAVEVARTYPE},
        {VT_R4, 4, FADF_HAVEVARTYPE},
        {VT_UINT, 4, FADF_HAVEVARTYPE},
        {VT_I8, 8, FADF_HAVEVARTYPE},
        {VT_DATE, 8, FADF_HAVEVARTYPE},
        {VT_DECIMAL, 16, FADF_HAVEVARTYPE},
        {VT_BSTR, sizeof(void*), FADF_BSTR},
        {VT_VARIANT, sizeof(VARIANT), FADF_VARIANT},
        {VT_UNKNOWN, sizeof(void*), FADF_UNKNOWN | FADF_HAVEIID},
        {VT_DISPATCH, sizeof(void*), FADF_DISPATCH | FADF_HAVEIID},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.vt);
        SAFEARRAYBOUND bounds[] = {{3, -1}, {4, 10}};
        SAFEARRAY* array = SafeArrayCreate(row.vt, 2, bounds);
        ASSERT_TRUE(array);
        EXPECT_EQ(SafeArrayGetElemsize(array), row.size);
        EXPECT_EQ(array->fFeatures & ~FADF_RESERVED & ~(row.features & FADF_HAVEVARTYPE ? 0 : FADF_HAVEVARTYPE),
                  row.features);
        EXPECT_EQ(SafeArrayGetDim(array), 2u);
        VARTYPE vt = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(array, &vt), S_OK);
        EXPECT_EQ(vt, row.vt);
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

TEST(SafeArray, WhatIsRefused) {
    SAFEARRAYBOUND bounds[] = {{1, 0}};
    EXPECT_FALSE(SafeArrayCreate(VT_EMPTY, 1, bounds));
    EXPECT_FALSE(SafeArrayCreate(VT_I4, 0, bounds));
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
    EXPECT_EQ(SafeArrayLock(nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayGetDim(nullptr), 0u);
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 5, 0);  // empty is allowed
    ASSERT_TRUE(array);
    LONG upper = 0;
    EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
    EXPECT_EQ(upper, 4);
    EXPECT_EQ(SafeArrayUnlock(array), E_UNEXPECTED);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, LocksHoldIt) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_I2, 0, 4);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(data, array->pvData);
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_ARRAY | VT_I2;
    v.parray = array;
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayDestroyData(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    v.vt = VT_ARRAY | VT_I2;
    EXPECT_EQ(VariantClear(&v), S_OK);
}

// A descriptor alone, its data given by hand from the task allocator: the way to hand a buffer over without a copy.
TEST(SafeArray, AdoptedData) {
    for (const int features : {FADF_FIXEDSIZE, FADF_FIXEDSIZE | FADF_HAVEVARTYPE}) {
        SAFEARRAY* array = nullptr;
        ASSERT_EQ(features & FADF_HAVEVARTYPE ? SafeArrayAllocDescriptorEx(VT_UI1, 1, &array)
                                              : SafeArrayAllocDescriptor(1, &array),
                  S_OK);
        EXPECT_EQ(array->cDims, 1);
        EXPECT_EQ(array->fFeatures, features & FADF_HAVEVARTYPE);
        EXPECT_FALSE(array->pvData);
        array->fFeatures = static_cast<USHORT>(features);
        array->cbElements = 1;
        array->rgsabound[0] = {5, 0};
        array->pvData = CoTaskMemAlloc(5);
        memcpy(array->pvData, "bytes", 5);
        VARTYPE vt = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(array, &vt), features & FADF_HAVEVARTYPE ? S_OK : E_INVALIDARG);
        SAFEARRAY* copy = nullptr;
        ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
        EXPECT_EQ(memcmp(copy->pvData, "bytes", 5), 0);
        EXPECT_FALSE(copy->fFeatures & FADF_FIXEDSIZE);
        EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
        VARIANT v;
        VariantInit(&v);
        v.vt = VT_ARRAY | VT_UI1;
        v.parray = array;
        EXPECT_EQ(VariantClear(&v), S_OK);
    }
}

TEST(SafeArray, ForeignDataStays) {
    LONG numbers[] = {1, 2, 3};
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_I4, 1, &array), S_OK);
    array->fFeatures |= FADF_STATIC | FADF_FIXEDSIZE;
    array->cbElements = sizeof(LONG);
    array->rgsabound[0] = {3, 0};
    array->pvData = numbers;
    SAFEARRAY* copy = nullptr;
    ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
    EXPECT_NE(copy->pvData, array->pvData);
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, ElementsAreOwned) {
    Counted object;
    SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 1, 2);
    LONG index = 2;
    EXPECT_EQ(SafeArrayPutElement(objects, &index, &object), S_OK);
    EXPECT_EQ(object.references, 2);
    EXPECT_EQ(SafeArrayPutElement(objects, &index, &object), S_OK);  // the old one is released
    EXPECT_EQ(object.references, 2);
    IUnknown* got = nullptr;
    EXPECT_EQ(SafeArrayGetElement(objects, &index, &got), S_OK);
    EXPECT_EQ(object.references, 3);
    SAFEARRAY* copy = nullptr;
    ASSERT_EQ(SafeArrayCopy(objects, &copy), S_OK);
    EXPECT_EQ(object.references, 4);
    IID iid = {};
    EXPECT_EQ(SafeArrayGetIID(copy, &iid), S_OK);
    EXPECT_TRUE(iid == IID_IUnknown);
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
    EXPECT_EQ(SafeArrayDestroyData(objects), S_OK);
    EXPECT_EQ(object.references, 2);
    EXPECT_EQ(SafeArrayDestroy(objects), S_OK);
    EXPECT_EQ(object.references, 2);
    got->Release();

    SAFEARRAY* mixed = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_BSTR;
    v.bstrVal = SysAllocString(OLESTR("text"));
    index = 0;
    EXPECT_EQ(SafeArrayPutElement(mixed, &index, &v), S_OK);
    VariantClear(&v);
    EXPECT_EQ(SafeArrayGetElement(mixed, &index, &v), S_OK);
    EXPECT_EQ(Text(v.bstrVal), OLESTR("text"));
    VariantClear(&v);
    index = 2;
    EXPECT_EQ(SafeArrayGetElement(mixed, &index, &v), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayDestroy(mixed), S_OK);
}

TEST(SafeArray, FirstIndexRunsFastest) {
    SAFEARRAYBOUND bounds[] = {{2, 0}, {3, 5}};
    SAFEARRAY* array = SafeArrayCreate(VT_I4, 2, bounds);
    LONG indices[] = {1, 7};
    LONG value = 99;
    EXPECT_EQ(SafeArrayPutElement(array, indices, &value), S_OK);
    EXPECT_EQ(static_cast<LONG*>(array->pvData)[5], 99);
    indices[1] = 5;
    EXPECT_EQ(SafeArrayPutElement(array, indices, &value), S_OK);
    EXPECT_EQ(static_cast<LONG*>(array->pvData)[1], 99);
    indices[1] = 8;
    EXPECT_EQ(SafeArrayGetElement(array, indices, &value), DISP_E_BADINDEX);
    EXPECT_EQ(array->cLocks, 0u);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

}  // namespace
