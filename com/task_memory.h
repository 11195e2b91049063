// Wrappers of the COM task allocator. Blocks that cross an interface come from here and are released with
// CoTaskMemFree.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <cstring>

namespace com {

// A new block of `size` bytes, or null. Not zeroed unless asked.
[[nodiscard]] inline void* TaskAlloc(SIZE_T size, bool zeroFill = false) noexcept {
    void* const block = CoTaskMemAlloc(size);
    if (block && zeroFill) std::memset(block, 0, size);
    return block;
}

// Resizes a block, or allocates one when given none. Null on failure, and the old block stays as it was.
[[nodiscard]] inline void* TaskRealloc(void* block, SIZE_T size) noexcept {
    return block ? CoTaskMemRealloc(block, size) : TaskAlloc(size);
}

inline void TaskFree(void* block) noexcept { CoTaskMemFree(block); }

}  // namespace com
