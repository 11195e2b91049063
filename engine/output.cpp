// Allocation of a step's output.
#include "engine/output.h"

#include <limits>

namespace talvo {

HRESULT Output::Allocate(uint64_t size) noexcept {
    Release();
    if (size == 0) return S_OK;
    if (size > std::numeric_limits<uint32_t>::max()) return E_OUTOFMEMORY;
    data_.Reset(static_cast<BYTE*>(com::TaskAlloc(static_cast<SIZE_T>(size))));
    if (!data_) return E_OUTOFMEMORY;
    size_ = static_cast<uint32_t>(size);
    return S_OK;
}

void Output::ShrinkTo(uint32_t size) noexcept {
    if (size == 0) return Release();
    if (size == size_) return;
    // A shrink that the allocator refuses costs memory, not data.
    if (void* const shrunk = com::TaskRealloc(data_.Get(), size)) {
        static_cast<void>(data_.Detach());
        data_.Reset(static_cast<BYTE*>(shrunk));
    }
    size_ = size;
}

void Output::Release() noexcept {
    data_.Reset();
    size_ = 0;
}

void Output::Hand(BYTE** data, DWORD* size) noexcept {
    *data = data_.Detach();
    *size = size_;
    size_ = 0;
}

}  // namespace talvo
