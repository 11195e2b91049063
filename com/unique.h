// Owner of one resource: a string, a task block, an array, a file, a registry key. Move only; empty it, give it away, or
// let it close.
// No operator& and no implicit conversion: both hide leaks.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <cstring>
#include <utility>

namespace com {

// Task memory. Blocks that cross an interface come from here and are released with CoTaskMemFree.

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

template <class Traits>
class UniqueAny {
public:
    using Value = typename Traits::Value;

    UniqueAny() noexcept = default;
    explicit UniqueAny(Value value) noexcept : value_(value) {}
    UniqueAny(UniqueAny&& other) noexcept : value_(other.Detach()) {}
    UniqueAny& operator=(UniqueAny&& other) noexcept {
        Reset(other.Detach());
        return *this;
    }
    ~UniqueAny() { Close(); }

    explicit operator bool() const noexcept { return value_ != Traits::Null(); }
    Value Get() const noexcept { return value_; }

    // Closes what is held and takes `value` instead.
    void Reset(Value value = Traits::Null()) noexcept {
        Close();
        value_ = value;
    }
    // Address for an out parameter; what was held is closed first.
    Value* Put() noexcept {
        Reset();
        return &value_;
    }
    [[nodiscard]] Value Detach() noexcept { return std::exchange(value_, Traits::Null()); }

private:
    void Close() noexcept {
        if (value_ != Traits::Null()) Traits::Close(value_);
    }
    Value value_ = Traits::Null();
};

struct BstrTraits {
    using Value = BSTR;
    static constexpr Value Null() noexcept { return nullptr; }
    static void Close(Value value) noexcept { SysFreeString(value); }
};
using UniqueBstr = UniqueAny<BstrTraits>;

struct TaskBytesTraits {
    using Value = BYTE*;
    static constexpr Value Null() noexcept { return nullptr; }
    static void Close(Value value) noexcept { TaskFree(value); }
};
using UniqueTaskBytes = UniqueAny<TaskBytesTraits>;

struct SafeArrayTraits {
    using Value = SAFEARRAY*;
    static constexpr Value Null() noexcept { return nullptr; }
    static void Close(Value value) noexcept { SafeArrayDestroy(value); }
};
using UniqueSafeArray = UniqueAny<SafeArrayTraits>;

struct FileTraits {
    using Value = HANDLE;
    static Value Null() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
using UniqueFile = UniqueAny<FileTraits>;

struct KeyTraits {
    using Value = HKEY;
    static constexpr Value Null() noexcept { return nullptr; }
    static void Close(Value value) noexcept { RegCloseKey(value); }
};
using UniqueKey = UniqueAny<KeyTraits>;

}  // namespace com
