// SAFEARRAY. A descriptor made here has 16 hidden bytes before it: the element's interface identifier, or its type in
// the last four of them. Features say how elements are released; data comes from the task allocator.
#include <oleauto.h>

#include <stdint.h>
#include <string.h>

namespace {

constexpr USHORT kDataDeleted = 0x1000;   // of a vector: the elements are gone, the block stays
constexpr USHORT kCreateVector = 0x2000;  // data follows the descriptor in the same block
constexpr USHORT kForeignData = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED;
constexpr SIZE_T kHidden = 16;
static_assert(sizeof(SAFEARRAY) == 32 && sizeof(VARIANT) == 24 && sizeof(GUID) == kHidden);

ULONG ElementSize(VARTYPE vt) {
    switch (vt) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
            return 8;
        case VT_BSTR:
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return sizeof(void*);
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 0;
    }
}

BYTE* Hidden(SAFEARRAY* array) { return reinterpret_cast<BYTE*>(array) - kHidden; }

void SetHiddenType(SAFEARRAY* array, DWORD vt) { memcpy(Hidden(array) + kHidden - sizeof vt, &vt, sizeof vt); }

VARTYPE HiddenType(SAFEARRAY* array) {
    DWORD vt = 0;
    memcpy(&vt, Hidden(array) + kHidden - sizeof vt, sizeof vt);
    return static_cast<VARTYPE>(vt);
}

void SetElementType(SAFEARRAY* array, VARTYPE vt) {
    switch (vt) {
        case VT_BSTR:
            array->fFeatures = FADF_BSTR;
            break;
        case VT_VARIANT:
            array->fFeatures = FADF_VARIANT;
            break;
        case VT_DISPATCH:
            array->fFeatures = FADF_DISPATCH | FADF_HAVEIID;
            memcpy(Hidden(array), &IID_IDispatch, kHidden);
            return;
        case VT_UNKNOWN:
            array->fFeatures = FADF_UNKNOWN | FADF_HAVEIID;
            memcpy(Hidden(array), &IID_IUnknown, kHidden);
            return;
        default:
            array->fFeatures = FADF_HAVEVARTYPE;
            break;
    }
    SetHiddenType(array, vt);
}

SIZE_T DescriptorSize(UINT dimensions) {
    return kHidden + sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
}

// The descriptor and `extra` bytes behind it, all zero.
SAFEARRAY* AllocateDescriptor(UINT dimensions, SIZE_T extra) {
    const SIZE_T size = DescriptorSize(dimensions) + extra;
    auto* block = static_cast<BYTE*>(CoTaskMemAlloc(size));
    if (!block) return nullptr;
    memset(block, 0, size);
    auto* array = reinterpret_cast<SAFEARRAY*>(block + kHidden);
    array->cDims = static_cast<USHORT>(dimensions);
    return array;
}

bool ValidDimensions(UINT dimensions) { return dimensions > 0 && dimensions <= UINT16_MAX; }

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

// The bounds stand in reverse order of the indices; the first index runs fastest.
BYTE* ElementAt(SAFEARRAY* array, const LONG* indices) {
    SIZE_T offset = 0;
    SIZE_T step = array->cbElements;
    for (UINT dimension = 1; dimension <= array->cDims; ++dimension) {
        const SAFEARRAYBOUND* bound = Bound(array, dimension);
        const LONGLONG index = LONGLONG{indices[dimension - 1]} - bound->lLbound;
        if (index < 0 || index >= bound->cElements) return nullptr;
        offset += static_cast<SIZE_T>(index) * step;
        step *= bound->cElements;
    }
    return static_cast<BYTE*>(array->pvData) + offset;
}

// The value for PutElement is the element itself, except that pointers are passed as they are.
HRESULT StoreElement(SAFEARRAY* array, BYTE* element, void* value) {
    const Element kind = KindOf(array);
    const bool pointer = kind == Element::String || kind == Element::Object;
    BYTE fresh[sizeof(VARIANT)];
    if (kind == Element::Plain) return memcpy(element, value, array->cbElements), S_OK;
    const auto* source = pointer ? reinterpret_cast<const BYTE*>(&value) : static_cast<const BYTE*>(value);
    if (const HRESULT hr = CopyElement(kind, fresh, source, array->cbElements); FAILED(hr)) return hr;
    ReleaseElement(kind, element);
    memcpy(element, fresh, array->cbElements);
    return S_OK;
}

}  // namespace

HRESULT SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut) {
    if (!ValidDimensions(cDims)) return E_INVALIDARG;
    if (!ppsaOut) return E_POINTER;
    *ppsaOut = AllocateDescriptor(cDims, 0);
    return *ppsaOut ? S_OK : E_OUTOFMEMORY;
}

HRESULT SafeArrayAllocDescriptorEx(VARTYPE vt, UINT cDims, SAFEARRAY** ppsaOut) {
    if (const HRESULT hr = SafeArrayAllocDescriptor(cDims, ppsaOut); FAILED(hr)) return hr;
    SetElementType(*ppsaOut, vt);
    (*ppsaOut)->cbElements = ElementSize(vt);
    return S_OK;
}

HRESULT SafeArrayAllocData(SAFEARRAY* psa) {
    ULONG count = 0;
    if (!psa) return E_INVALIDARG;
    if (!CountElements(psa, &count)) return E_OUTOFMEMORY;
    const SIZE_T size = SIZE_T{count} * psa->cbElements;
    psa->pvData = CoTaskMemAlloc(size);
    if (!psa->pvData) return E_OUTOFMEMORY;
    memset(psa->pvData, 0, size);
    return S_OK;
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
    SAFEARRAY* array = nullptr;
    if (ElementSize(vt) == 0 || !rgsabound) return nullptr;
    if (FAILED(SafeArrayAllocDescriptorEx(vt, cDims, &array))) return nullptr;
    for (UINT i = 0; i < cDims; ++i) array->rgsabound[i] = rgsabound[cDims - 1 - i];
    if (SUCCEEDED(SafeArrayAllocData(array))) return array;
    SafeArrayDestroyDescriptor(array);
    return nullptr;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    const ULONG size = ElementSize(vt);
    ULONG bytes = 0;
    if (size == 0 || __builtin_mul_overflow(size, cElements, &bytes)) return nullptr;
    SAFEARRAY* array = AllocateDescriptor(1, bytes);
    if (!array) return nullptr;
    SetElementType(array, vt);
    array->fFeatures |= kCreateVector;
    array->cbElements = size;
    array->rgsabound[0] = {cElements, lLbound};
    array->pvData = array + 1;
    return array;
}

HRESULT SafeArrayDestroyDescriptor(SAFEARRAY* psa) {
    if (!psa) return S_OK;
    if (psa->cLocks != 0) return DISP_E_ARRAYISLOCKED;
    const bool alive = (psa->fFeatures & (kCreateVector | kDataDeleted)) == kCreateVector;
    ULONG count = 0;
    if (alive && CountElements(psa, &count)) ReleaseElements(psa, count);
    CoTaskMemFree(Hidden(psa));
    return S_OK;
}

HRESULT SafeArrayDestroyData(SAFEARRAY* psa) {
    ULONG count = 0;
    if (!psa) return E_INVALIDARG;
    if (psa->cLocks != 0) return DISP_E_ARRAYISLOCKED;
    if (!psa->pvData) return S_OK;
    if (!CountElements(psa, &count)) return E_UNEXPECTED;
    ReleaseElements(psa, count);
    if (psa->fFeatures & kCreateVector) {
        psa->fFeatures |= kDataDeleted;
    } else if (!(psa->fFeatures & kForeignData)) {
        CoTaskMemFree(psa->pvData);
        psa->pvData = nullptr;
    }
    return S_OK;
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
    if (!psa) return S_OK;
    if (const HRESULT hr = SafeArrayDestroyData(psa); FAILED(hr)) return hr;
    return SafeArrayDestroyDescriptor(psa);
}

UINT SafeArrayGetDim(SAFEARRAY* psa) { return psa ? psa->cDims : 0; }

UINT SafeArrayGetElemsize(SAFEARRAY* psa) { return psa ? psa->cbElements : 0; }

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
    if (!psa || !plUbound) return E_INVALIDARG;
    const SAFEARRAYBOUND* bound = Bound(psa, nDim);
    if (!bound) return DISP_E_BADINDEX;
    *plUbound = static_cast<LONG>(static_cast<ULONG>(bound->lLbound) + bound->cElements - 1);
    return S_OK;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
    if (!psa || !plLbound) return E_INVALIDARG;
    const SAFEARRAYBOUND* bound = Bound(psa, nDim);
    if (!bound) return DISP_E_BADINDEX;
    *plLbound = bound->lLbound;
    return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    auto* locks = reinterpret_cast<LONG volatile*>(&psa->cLocks);
    if (static_cast<ULONG>(InterlockedIncrement(locks)) <= UINT16_MAX) return S_OK;
    InterlockedDecrement(locks);
    return E_UNEXPECTED;
}

HRESULT SafeArrayUnlock(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    auto* locks = reinterpret_cast<LONG volatile*>(&psa->cLocks);
    if (InterlockedDecrement(locks) >= 0) return S_OK;
    InterlockedIncrement(locks);
    return E_UNEXPECTED;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
    if (!psa || !ppvData) return E_INVALIDARG;
    const HRESULT hr = SafeArrayLock(psa);
    *ppvData = SUCCEEDED(hr) ? psa->pvData : nullptr;
    return hr;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) { return SafeArrayUnlock(psa); }

HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    if (!psa || !rgIndices || !pv) return E_INVALIDARG;
    if (const HRESULT hr = SafeArrayLock(psa); FAILED(hr)) return hr;
    const BYTE* element = ElementAt(psa, rgIndices);
    const HRESULT hr =
        element ? CopyElement(KindOf(psa), static_cast<BYTE*>(pv), element, psa->cbElements) : DISP_E_BADINDEX;
    SafeArrayUnlock(psa);
    return hr;
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    if (!psa || !rgIndices) return E_INVALIDARG;
    if (const HRESULT hr = SafeArrayLock(psa); FAILED(hr)) return hr;
    BYTE* element = ElementAt(psa, rgIndices);
    const HRESULT hr = element ? StoreElement(psa, element, pv) : DISP_E_BADINDEX;
    SafeArrayUnlock(psa);
    return hr;
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
    constexpr USHORT kNotCopied = kForeignData | FADF_FIXEDSIZE | kCreateVector | kDataDeleted;
    copy->fFeatures = psa->fFeatures & static_cast<USHORT>(~kNotCopied);
    copy->cbElements = psa->cbElements;
    memcpy(copy->rgsabound, psa->rgsabound, psa->cDims * sizeof(SAFEARRAYBOUND));
    if (copy->fFeatures & (FADF_HAVEIID | FADF_HAVEVARTYPE)) memcpy(Hidden(copy), Hidden(psa), kHidden);
    HRESULT hr = SafeArrayAllocData(copy);
    if (SUCCEEDED(hr) && psa->pvData) hr = CopyElements(copy, psa, count);
    if (FAILED(hr)) return SafeArrayDestroy(copy), hr;
    *ppsaOut = copy;
    return S_OK;
}

HRESULT SafeArraySetIID(SAFEARRAY* psa, REFGUID guid) {
    if (!psa || !(psa->fFeatures & FADF_HAVEIID)) return E_INVALIDARG;
    memcpy(Hidden(psa), &guid, kHidden);
    return S_OK;
}

HRESULT SafeArrayGetIID(SAFEARRAY* psa, GUID* pguid) {
    if (!psa || !pguid || !(psa->fFeatures & FADF_HAVEIID)) return E_INVALIDARG;
    memcpy(pguid, Hidden(psa), kHidden);
    return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
    if (!psa || !pvt) return E_INVALIDARG;
    if (psa->fFeatures & FADF_HAVEVARTYPE) {
        *pvt = HiddenType(psa);
    } else if (psa->fFeatures & FADF_DISPATCH) {
        *pvt = VT_DISPATCH;
    } else if (psa->fFeatures & FADF_UNKNOWN) {
        *pvt = VT_UNKNOWN;
    } else if (psa->fFeatures & FADF_BSTR) {
        *pvt = VT_BSTR;
    } else if (psa->fFeatures & FADF_VARIANT) {
        *pvt = VT_VARIANT;
    } else {
        return E_INVALIDARG;
    }
    return S_OK;
}
