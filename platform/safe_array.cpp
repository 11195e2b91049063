// SAFEARRAY of plain elements; data comes from the task allocator. Arrays whose elements own something are neither made
// nor taken. Nothing asks an array for the type of its elements, so none is kept.
#include <oleauto.h>

#include <stdint.h>
#include <string.h>

#include "platform/variant.h"

namespace {

constexpr USHORT kForeignData = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED;
constexpr USHORT kOwningElements = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT;
static_assert(sizeof(SAFEARRAY) == 32 && sizeof(VARIANT) == 24);

// The bytes of an element; 0 for one that owns something, or that no array can hold.
ULONG PlainSize(VARTYPE vt) {
    const bool owning = vt == VT_BSTR || vt == VT_UNKNOWN || vt == VT_DISPATCH || vt == VT_VARIANT;
    return owning ? 0 : platform::TypeSize(vt);
}

SAFEARRAY* AllocateDescriptor(UINT dimensions) {
    const SIZE_T size = sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
    auto* array = static_cast<SAFEARRAY*>(CoTaskMemAlloc(size));
    if (!array) return nullptr;
    memset(array, 0, size);
    array->cDims = static_cast<USHORT>(dimensions);
    return array;
}

// The number of elements; false if the data would not fit in 32 bits of bytes.
bool CountElements(const SAFEARRAY* array, ULONG* count) {
    ULONG bytes = array->cbElements;
    *count = 1;
    for (UINT i = 0; i < array->cDims; ++i) {
        const ULONG elements = array->rgsabound[i].cElements;
        if (elements == 0) return *count = 0, true;
        if (__builtin_mul_overflow(bytes, elements, &bytes)) return false;
        *count *= elements;
    }
    return true;
}

SAFEARRAYBOUND* Bound(SAFEARRAY* array, UINT dimension) {
    return dimension > 0 && dimension <= array->cDims ? &array->rgsabound[array->cDims - dimension] : nullptr;
}

HRESULT AllocateData(SAFEARRAY* array) {
    ULONG count = 0;
    if (!CountElements(array, &count)) return E_OUTOFMEMORY;
    const SIZE_T size = SIZE_T{count} * array->cbElements;
    array->pvData = CoTaskMemAlloc(size);
    if (!array->pvData) return E_OUTOFMEMORY;
    memset(array->pvData, 0, size);
    return S_OK;
}

HRESULT GetBound(SAFEARRAY* array, UINT dimension, LONG* out, bool upper) {
    if (!array || !out) return E_INVALIDARG;
    const SAFEARRAYBOUND* bound = Bound(array, dimension);
    if (!bound) return DISP_E_BADINDEX;
    *out = upper ? static_cast<LONG>(static_cast<ULONG>(bound->lLbound) + bound->cElements - 1) : bound->lLbound;
    return S_OK;
}

}  // namespace

HRESULT SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut) {
    if (cDims == 0 || cDims > UINT16_MAX) return E_INVALIDARG;
    if (!ppsaOut) return E_POINTER;
    *ppsaOut = AllocateDescriptor(cDims);
    return *ppsaOut ? S_OK : E_OUTOFMEMORY;
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
    SAFEARRAY* array = nullptr;
    const ULONG size = PlainSize(vt);
    if (size == 0 || !rgsabound || FAILED(SafeArrayAllocDescriptor(cDims, &array))) return nullptr;
    array->cbElements = size;
    for (UINT i = 0; i < cDims; ++i) array->rgsabound[i] = rgsabound[cDims - 1 - i];
    if (SUCCEEDED(AllocateData(array))) return array;
    CoTaskMemFree(array);
    return nullptr;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    SAFEARRAYBOUND bound = {cElements, lLbound};
    return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
    if (!psa) return S_OK;
    if (psa->cLocks != 0) return DISP_E_ARRAYISLOCKED;
    if (psa->fFeatures & kOwningElements) return E_INVALIDARG;
    if (!(psa->fFeatures & kForeignData)) CoTaskMemFree(psa->pvData);
    CoTaskMemFree(psa);
    return S_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* psa) { return psa ? psa->cDims : 0; }

UINT SafeArrayGetElemsize(SAFEARRAY* psa) { return psa ? psa->cbElements : 0; }

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) { return GetBound(psa, nDim, plUbound, true); }

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) { return GetBound(psa, nDim, plLbound, false); }

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
    if (!psa || !ppvData) return E_INVALIDARG;
    auto* locks = reinterpret_cast<LONG volatile*>(&psa->cLocks);
    *ppvData = psa->pvData;
    if (static_cast<ULONG>(InterlockedIncrement(locks)) <= UINT16_MAX) return S_OK;
    InterlockedDecrement(locks);
    *ppvData = nullptr;
    return E_UNEXPECTED;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    auto* locks = reinterpret_cast<LONG volatile*>(&psa->cLocks);
    if (InterlockedDecrement(locks) >= 0) return S_OK;
    InterlockedIncrement(locks);
    return E_UNEXPECTED;
}

// The copy owns its data wherever the original's lies.
HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
    ULONG count = 0;
    if (!ppsaOut) return E_INVALIDARG;
    *ppsaOut = nullptr;
    if (!psa) return S_OK;
    if (psa->cbElements == 0 || (psa->fFeatures & kOwningElements) || !CountElements(psa, &count)) return E_INVALIDARG;
    SAFEARRAY* copy = AllocateDescriptor(psa->cDims);
    if (!copy) return E_OUTOFMEMORY;
    copy->cbElements = psa->cbElements;
    memcpy(copy->rgsabound, psa->rgsabound, psa->cDims * sizeof(SAFEARRAYBOUND));
    if (FAILED(AllocateData(copy))) return CoTaskMemFree(copy), E_OUTOFMEMORY;
    if (psa->pvData) memcpy(copy->pvData, psa->pvData, SIZE_T{count} * psa->cbElements);
    *ppsaOut = copy;
    return S_OK;
}
