// A call through a virtual table whose parameter types are known only at run time. On the systems that we build for,
// numbers and pointers travel in general registers; what finds no register lies on the stack in cells of eight bytes. So a
// function that takes all registers and enough cells, all filled in order, is called like any other; what the callee does
// not expect it does not look at.
#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/type_info.h"

namespace platform {
namespace {

#if defined(__x86_64__)
constexpr size_t kRegisters = 6;
constexpr bool kVariantInCells = true;  // a structure of three cells lies among the others
#elif defined(__aarch64__)
constexpr size_t kRegisters = 8;
constexpr bool kVariantInCells = false;  // the caller passes the address of a copy
#else
#error "How arguments travel on this system is not known here."
#endif
constexpr size_t kCells = 24;

template <size_t>
using Word = uint64_t;

class CallFrame {
public:
    // False when there is no more room; such a call cannot be made.
    bool Add(uint64_t word) {
        return registersUsed_ < kRegisters ? (words_[registersUsed_++] = word, true) : AddCell(word);
    }

    bool AddVariant(const VARIANT& value) {
        if constexpr (!kVariantInCells) return Add(reinterpret_cast<uintptr_t>(&value));
        uint64_t cells[sizeof(VARIANT) / sizeof(uint64_t)];
        std::memcpy(cells, &value, sizeof cells);
        bool ok = true;
        for (const uint64_t cell : cells) ok = ok && AddCell(cell);
        return ok;
    }

    HRESULT Call(void* function) const { return Call(function, std::make_index_sequence<kRegisters + kCells>()); }

private:
    bool AddCell(uint64_t word) { return cellsUsed_ < kCells && (words_[kRegisters + cellsUsed_++] = word, true); }

    template <size_t... W>
#if defined(__clang__)
    __attribute__((no_sanitize("function")))
#endif
    HRESULT
    Call(void* function, std::index_sequence<W...>) const {
        return reinterpret_cast<HRESULT (*)(Word<W>...)>(function)(words_[W]...);
    }

    uint64_t words_[kRegisters + kCells] = {};
    size_t registersUsed_ = 0;
    size_t cellsUsed_ = 0;
};

// Callees may rely on narrow numbers being extended to the whole register.
template <class Number>
uint64_t Extended(Number number) {
    return static_cast<uint64_t>(static_cast<int64_t>(number));
}

bool AddArgument(CallFrame& frame, VARTYPE type, const VARIANT& value) {
    switch (type) {
        case VT_I2:
        case VT_BOOL:
            return frame.Add(Extended(value.iVal));
        case VT_I4:
            return frame.Add(Extended(value.lVal));
        case VT_UI4:
            return frame.Add(value.ulVal);
        case VT_VARIANT:
            return frame.AddVariant(value);
        default:  // a pointer
            return frame.Add(reinterpret_cast<uintptr_t>(value.byref));
    }
}

}  // namespace

bool CallMethod(void* instance, SHORT slot, UINT count, const VARTYPE* types, VARIANTARG* const* values,
                HRESULT& answer) {
    CallFrame frame;
    frame.Add(reinterpret_cast<uintptr_t>(instance));
    for (UINT i = 0; i < count; ++i) {
        if (!AddArgument(frame, types[i], *values[i])) return false;
    }
    answer = frame.Call((*static_cast<void***>(instance))[slot]);
    return true;
}

}  // namespace platform
