// Replaces operator new and delete of the program by ones that a fuse can make fail. A file of its own, so that no
// compiler sees through both ends and takes malloc and delete for a mismatch.
#include <cstdint>
#include <cstdlib>
#include <new>

#include "tests/support/allocation_faults.h"
#include "tests/support/fuse.h"

namespace talvo::test {
namespace {

constinit Fuse g_fuse;

void* Allocate(std::size_t size, std::size_t alignment) noexcept {
    if (g_fuse.Blows()) return nullptr;
    if (size == 0) size = 1;
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) return std::malloc(size);
    // Over-aligned: the start of the block stands in front of what is handed out.
    if (size > SIZE_MAX - alignment - sizeof(void*)) return nullptr;
    void* const block = std::malloc(size + alignment + sizeof(void*));
    if (!block) return nullptr;
    const auto place = (reinterpret_cast<uintptr_t>(block) + sizeof(void*) + alignment - 1) & ~(alignment - 1);
    reinterpret_cast<void**>(place)[-1] = block;
    return reinterpret_cast<void*>(place);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const block = Allocate(size, alignment)) return block;
    throw std::bad_alloc();
}

void Free(void* block, std::align_val_t alignment) noexcept {
    const bool overAligned = static_cast<std::size_t>(alignment) > __STDCPP_DEFAULT_NEW_ALIGNMENT__;
    std::free(block && overAligned ? static_cast<void**>(block)[-1] : block);
}

}  // namespace

Fuse& NewFuse() { return g_fuse; }

FaultPause::FaultPause() { ++g_faultsPaused; }
FaultPause::~FaultPause() { --g_faultsPaused; }
FaultsHere::FaultsHere() { --g_faultsPaused; }
FaultsHere::~FaultsHere() { ++g_faultsPaused; }

}  // namespace talvo::test

// All forms: a sanitizer's own would otherwise serve some of them.
using talvo::test::Allocate;
using talvo::test::AllocateOrThrow;
using talvo::test::Free;
using Size = std::size_t;
using Alignment = std::align_val_t;

void* operator new(Size size) { return AllocateOrThrow(size, 1); }
void* operator new[](Size size) { return AllocateOrThrow(size, 1); }
void* operator new(Size size, const std::nothrow_t&) noexcept { return Allocate(size, 1); }
void* operator new[](Size size, const std::nothrow_t&) noexcept { return Allocate(size, 1); }
void* operator new(Size size, Alignment to) { return AllocateOrThrow(size, static_cast<Size>(to)); }
void* operator new[](Size size, Alignment to) { return AllocateOrThrow(size, static_cast<Size>(to)); }
void* operator new(Size size, Alignment to, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<Size>(to));
}
void* operator new[](Size size, Alignment to, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<Size>(to));
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, Size) noexcept { std::free(block); }
void operator delete[](void* block, Size) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete(void* block, Alignment to) noexcept { Free(block, to); }
void operator delete[](void* block, Alignment to) noexcept { Free(block, to); }
void operator delete(void* block, Size, Alignment to) noexcept { Free(block, to); }
void operator delete[](void* block, Size, Alignment to) noexcept { Free(block, to); }
void operator delete(void* block, Alignment to, const std::nothrow_t&) noexcept { Free(block, to); }
void operator delete[](void* block, Alignment to, const std::nothrow_t&) noexcept { Free(block, to); }
