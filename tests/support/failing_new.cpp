// Replaces operator new and delete of the program by ones that a fuse can make fail. A file of its own, so that no
// compiler sees through both ends and takes malloc and delete for a mismatch.
#include <cstdlib>
#include <new>

#include "tests/support/fuse.h"

namespace talvo::test {
namespace {

constinit Fuse g_fuse;

void* Allocate(std::size_t size) noexcept { return g_fuse.Blows() ? nullptr : std::malloc(size != 0 ? size : 1); }

void* AllocateOrThrow(std::size_t size) {
    if (void* const block = Allocate(size)) return block;
    throw std::bad_alloc();
}

}  // namespace

Fuse& NewFuse() { return g_fuse; }

}  // namespace talvo::test

// All forms but those for over-aligned types, which nobody here has: a sanitizer's own would otherwise serve some.
using talvo::test::Allocate;
using talvo::test::AllocateOrThrow;

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
