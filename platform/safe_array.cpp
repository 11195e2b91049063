// SAFEARRAY. Features say how elements are released; data comes from the task allocator. Nothing asks an array for the
// type of its elements, so none is kept.
#include <oleauto.h>

#include <stdint.h>
#include <string.h>

#include "platform/variant.h"

namespace {

using platform::TypeSize;

constexpr USHORT kCreateVector = 0x2000;  // data follows the descriptor in the same block
constexpr USHORT kForeignData = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED;
static_assert(sizeof(SAFEARRAY) == 32 && sizeof(VARIANT) == 24);

void SetElementType(SAFEARRAY* array, VARTYPE vt) {
    array->cbElements = TypeSize(vt);
    if (vt == VT_BSTR) array->fFeatures = FADF_BSTR;
    if (vt == VT_VARIANT) array->fFeatures = FADF_VARIANT;
    if (vt == VT_DISPATCH) array->fFeatures = FADF_DISPATCH;
    if (vt == VT_UNKNOWN) array->fFeatures = FADF_UNKNOWN;
}

// The descriptor and `extra` bytes behind it, all zero.
SAFEARRAY* AllocateDescriptor(UINT dimensions, SIZE_T extra) {
    const SIZE_T size = sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND) + extra;
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

enum class Element { Plain, String, Object, Variant };

Element KindOf(const SAFEARRAY* array) {
    if (array->fFeatures & FADF_BSTR) return Element::String;
    if (array->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) return Element::Object;
    if (array->fFeatures & FADF_VARIANT) return Element::Variant;
    return Element::Plain;
}

void ReleaseElement(Element kind, BYTE* element) {
    void* content = nullptr;
    if (kind == Element::Variant) {
        VariantClear(reinterpret_cast<VARIANT*>(element));
        return;
    }
    memcpy(&content, element, sizeof content);
    if (kind == Element::String) SysFreeString(static_cast<BSTR>(content));
    if (kind == Element::Object && content) static_cast<IUnknown*>(content)->Release();
}

// Makes `target`, whose content is not looked at, a copy of `source`. Strings keep their length in bytes.
HRESULT CopyElement(Element kind, BYTE* target, const BYTE* source, ULONG size) {
    if (kind == Element::Variant) {
        VariantInit(reinterpret_cast<VARIANT*>(target));
        return VariantCopy(reinterpret_cast<VARIANT*>(target), reinterpret_cast<VARIANT*>(const_cast<BYTE*>(source)));
    }
    void* content = nullptr;
    if (kind == Element::Plain) return memcpy(target, source, size), S_OK;
    memcpy(&content, source, sizeof content);
    if (kind == Element::Object && content) static_cast<IUnknown*>(content)->AddRef();
    if (kind == Element::String && content) {
        const BSTR text = static_cast<BSTR>(content);
        content = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(text), SysStringByteLen(text));
        if (!content) return E_OUTOFMEMORY;
    }
    memcpy(target, &content, sizeof content);
    return S_OK;
}

// Releases the first `count` elements and leaves zeros, so that doing it twice is harmless.
void ReleaseElements(SAFEARRAY* array, ULONG count) {
    auto* data = static_cast<BYTE*>(array->pvData);
    const Element kind = KindOf(array);
    for (ULONG i = 0; kind != Element::Plain && i < count; ++i) {
        ReleaseElement(kind, data + SIZE_T{i} * array->cbElements);
    }
    memset(data, 0, SIZE_T{count} * array->cbElements);
}

HRESULT CopyElements(SAFEARRAY* target, const SAFEARRAY* source, ULONG count) {
    const Element kind = KindOf(source);
    auto* to = static_cast<BYTE*>(target->pvData);
    const auto* from = static_cast<const BYTE*>(source->pvData);
    if (kind == Element::Plain) return memcpy(to, from, SIZE_T{count} * source->cbElements), S_OK;
    for (ULONG i = 0; i < count; ++i) {
        const SIZE_T at = SIZE_T{i} * source->cbElements;
        if (const HRESULT hr = CopyElement(kind, to + at, from + at, source->cbElements); FAILED(hr)) return hr;
    }
    return S_OK;
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
    *ppsaOut = AllocateDescriptor(cDims, 0);
    return *ppsaOut ? S_OK : E_OUTOFMEMORY;
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
    SAFEARRAY* array = nullptr;
    if (TypeSize(vt) == 0 || !rgsabound) return nullptr;
    if (FAILED(SafeArrayAllocDescriptor(cDims, &array))) return nullptr;
    SetElementType(array, vt);
    for (UINT i = 0; i < cDims; ++i) array->rgsabound[i] = rgsabound[cDims - 1 - i];
    if (SUCCEEDED(AllocateData(array))) return array;
    CoTaskMemFree(array);
    return nullptr;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    const ULONG size = TypeSize(vt);
    ULONG bytes = 0;
    if (size == 0 || __builtin_mul_overflow(size, cElements, &bytes)) return nullptr;
    SAFEARRAY* array = AllocateDescriptor(1, bytes);
    if (!array) return nullptr;
    SetElementType(array, vt);
    array->fFeatures |= kCreateVector;
    array->rgsabound[0] = {cElements, lLbound};
    array->pvData = array + 1;
    return array;
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
    ULONG count = 0;
    if (!psa) return S_OK;
    if (psa->cLocks != 0) return DISP_E_ARRAYISLOCKED;
    if (psa->pvData) {
        if (!CountElements(psa, &count)) return E_UNEXPECTED;
        ReleaseElements(psa, count);
        if (!(psa->fFeatures & (kForeignData | kCreateVector))) CoTaskMemFree(psa->pvData);
    }
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
    if (psa->cbElements == 0 || !CountElements(psa, &count)) return E_INVALIDARG;
    SAFEARRAY* copy = AllocateDescriptor(psa->cDims, 0);
    if (!copy) return E_OUTOFMEMORY;
    constexpr USHORT kNotCopied = kForeignData | FADF_FIXEDSIZE | kCreateVector;
    copy->fFeatures = psa->fFeatures & static_cast<USHORT>(~kNotCopied);
    copy->cbElements = psa->cbElements;
    memcpy(copy->rgsabound, psa->rgsabound, psa->cDims * sizeof(SAFEARRAYBOUND));
    HRESULT hr = AllocateData(copy);
    if (SUCCEEDED(hr) && psa->pvData) hr = CopyElements(copy, psa, count);
    if (FAILED(hr)) return SafeArrayDestroy(copy), hr;
    *ppsaOut = copy;
    return S_OK;
}
