// Bytes in and out of VARIANTs.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdint>

namespace com {

// Read-only view of the bytes that a VARIANT holds, without copying; an array stays locked while the view lives. A
// VARIANT without usable data gives an empty view, which is no error. The VARIANT must stay unchanged meanwhile.
class VariantByteView {
public:
    explicit VariantByteView(const VARIANT* variant) noexcept;  // may be null
    ~VariantByteView();
    VariantByteView(const VariantByteView&) = delete;
    VariantByteView& operator=(const VariantByteView&) = delete;

    const BYTE* Data() const noexcept { return data_; }
    uint32_t Size() const noexcept { return size_; }

private:
    void ViewArray(SAFEARRAY* array) noexcept;
    void ViewValue(const VARIANT& variant, const void* value) noexcept;
    void Set(const void* data, uint32_t size) noexcept;

    const BYTE* data_ = nullptr;
    uint32_t size_ = 0;
    SAFEARRAY* locked_ = nullptr;
};

enum class ByteArrayMode { Copy, Adopt };

// Makes `*result` a one-dimensional VT_UI1 array with lower bound 0, or VT_EMPTY when there are no bytes. Earlier
// content of `*result` is not released. Adopt: `data` is a task block, and belongs to the array after success (and only
// then). E_UNEXPECTED for a null result or an array that cannot be locked, E_OUTOFMEMORY.
HRESULT MakeByteArrayVariant(uint32_t count, BYTE* data, VARIANT* result, ByteArrayMode mode) noexcept;

}  // namespace com
