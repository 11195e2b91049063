// Reads and builds byte VARIANTs over the platform's VARIANT and SAFEARRAY calls.
#include "com/variant_bytes.h"

#include <cstring>
#include <limits>

#include "com/unique.h"

namespace com {
namespace {

// References to VARIANTs are followed this far: deeper ones are damaged or circular.
constexpr int kMaxReferences = 16;

uint32_t ScalarSize(VARTYPE type) noexcept {
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_BOOL:
        case VT_UI2:
            return 2;
        case VT_I4:
        case VT_R4:
        case VT_ERROR:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
            return 4;
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_I8:
        case VT_UI8:
            return 8;
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        default:
            return 0;
    }
}

// Bytes of all elements; 0 for an array without any, or with more than a 32-bit count can tell.
uint32_t ArrayByteCount(SAFEARRAY* array) noexcept {
    const UINT dimensions = SafeArrayGetDim(array);
    if (dimensions < 1) return 0;
    uint64_t size = SafeArrayGetElemsize(array);
    for (UINT dimension = 1; dimension <= dimensions; ++dimension) {
        LONG lower = 0;
        LONG upper = 0;
        if (FAILED(SafeArrayGetLBound(array, dimension, &lower)) ||
            FAILED(SafeArrayGetUBound(array, dimension, &upper)))
            return 0;
        const int64_t elements = static_cast<int64_t>(upper) - lower + 1;
        if (elements <= 0) return 0;
        size *= static_cast<uint64_t>(elements);
        if (size > std::numeric_limits<uint32_t>::max()) return 0;
    }
    return static_cast<uint32_t>(size);
}

HRESULT CopyIntoArray(uint32_t count, const BYTE* data, SAFEARRAY** result) noexcept {
    UniqueSafeArray array(SafeArrayCreateVector(VT_UI1, 0, count));
    if (!array) return E_OUTOFMEMORY;
    void* elements = nullptr;
    if (FAILED(SafeArrayAccessData(array.Get(), &elements))) return E_UNEXPECTED;
    std::memcpy(elements, data, count);
    SafeArrayUnaccessData(array.Get());
    *result = array.Detach();
    return S_OK;
}

// The descriptor, which knows its one dimension, says neither automatic, static nor embedded: destroying the array frees
// the block with the task allocator.
HRESULT AdoptIntoArray(uint32_t count, BYTE* data, SAFEARRAY** result) noexcept {
    SAFEARRAY* array = nullptr;
    if (const HRESULT hr = SafeArrayAllocDescriptor(1, &array); FAILED(hr)) return hr;
    array->fFeatures = FADF_FIXEDSIZE;
    array->cbElements = 1;
    array->cLocks = 0;
    array->pvData = data;
    array->rgsabound[0].cElements = count;
    array->rgsabound[0].lLbound = 0;
    *result = array;
    return S_OK;
}

}  // namespace

VariantByteView::VariantByteView(const VARIANT* variant) noexcept {
    for (int i = 0; variant && i < kMaxReferences; ++i) {
        const VARTYPE type = V_VT(variant);
        const bool byReference = (type & VT_BYREF) != 0;
        if (byReference && !V_BYREF(variant)) return;
        const bool nested = byReference && (type & (VT_ARRAY | VT_TYPEMASK)) == VT_VARIANT;
        if (nested) {
            variant = V_VARIANTREF(variant);
            continue;
        }
        if (type & VT_ARRAY) {
            ViewArray(byReference ? *V_ARRAYREF(variant) : V_ARRAY(variant));
        } else {
            ViewValue(*variant, byReference ? V_BYREF(variant) : nullptr);
        }
        return;
    }
}

VariantByteView::~VariantByteView() {
    if (locked_) SafeArrayUnaccessData(locked_);
}

// `value` is where a by-reference VARIANT points, null for one by value.
void VariantByteView::ViewValue(const VARIANT& variant, const void* value) noexcept {
    const auto type = static_cast<VARTYPE>(V_VT(&variant) & VT_TYPEMASK);
    if (type == VT_BSTR) {
        BSTR const text = value ? *static_cast<const BSTR*>(value) : V_BSTR(&variant);
        return Set(text, SysStringByteLen(text));
    }
    if (!value) value = type == VT_DECIMAL ? static_cast<const void*>(&variant) : &V_UI1(&variant);
    Set(value, ScalarSize(type));
}

void VariantByteView::ViewArray(SAFEARRAY* array) noexcept {
    const uint32_t size = array ? ArrayByteCount(array) : 0;
    void* elements = nullptr;
    if (size == 0 || FAILED(SafeArrayAccessData(array, &elements))) return;
    locked_ = array;
    Set(elements, size);
}

void VariantByteView::Set(const void* data, uint32_t size) noexcept {
    if (!data || size == 0) return;
    data_ = static_cast<const BYTE*>(data);
    size_ = size;
}

HRESULT MakeByteArrayVariant(uint32_t count, BYTE* data, VARIANT* result, ByteArrayMode mode) noexcept {
    if (!result) return E_UNEXPECTED;
    VariantInit(result);
    if (count == 0 || !data) return S_OK;
    SAFEARRAY* array = nullptr;
    const HRESULT hr =
        mode == ByteArrayMode::Copy ? CopyIntoArray(count, data, &array) : AdoptIntoArray(count, data, &array);
    if (FAILED(hr)) return hr;
    V_VT(result) = VT_ARRAY | VT_UI1;
    V_ARRAY(result) = array;
    return S_OK;
}

}  // namespace com
