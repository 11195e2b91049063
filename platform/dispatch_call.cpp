// DispCallFunc: a call through a virtual table whose parameter types are known only at run time. On the systems that we
// build for, numbers and pointers travel in general registers and floating-point numbers in their own; what finds no
// register lies on the stack in cells of eight bytes. So a function that takes all registers and enough cells, all filled
// in order, is called like any other; what the callee does not expect it does not look at.
#include <windows.h>
#include <oleauto.h>

#include <cstdint>
#include <cstring>
#include <utility>

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
constexpr size_t kFloats = 8;
constexpr UINT kMaxArguments = 64;

template <size_t>
using Word = uint64_t;
template <size_t>
using Float = double;

class CallFrame {
public:
    // False when there is no more room; such a call cannot be made.
    bool Add(uint64_t word) {
        return registersUsed_ < kRegisters ? (words_[registersUsed_++] = word, true) : AddCell(word);
    }

    bool AddFloat(uint64_t bits) {
        if (floatsUsed_ == kFloats) return AddCell(bits);
        std::memcpy(&floats_[floatsUsed_++], &bits, sizeof bits);
        return true;
    }

    bool AddVariant(const VARIANT& value) {
        if constexpr (!kVariantInCells) return Add(reinterpret_cast<uintptr_t>(&value));
        uint64_t cells[sizeof(VARIANT) / sizeof(uint64_t)];
        std::memcpy(cells, &value, sizeof cells);
        bool ok = true;
        for (const uint64_t cell : cells) ok = ok && AddCell(cell);
        return ok;
    }

    template <class Result>
    Result Call(void* function) const {
        return Call<Result>(function, std::make_index_sequence<kRegisters + kCells>(),
                            std::make_index_sequence<kFloats>());
    }

private:
    bool AddCell(uint64_t word) { return cellsUsed_ < kCells && (words_[kRegisters + cellsUsed_++] = word, true); }

    template <class Result, size_t... W, size_t... F>
#if defined(__clang__)
    __attribute__((no_sanitize("function")))
#endif
    Result
    Call(void* function, std::index_sequence<W...>, std::index_sequence<F...>) const {
        return reinterpret_cast<Result (*)(Word<W>..., Float<F>...)>(function)(words_[W]..., floats_[F]...);
    }

    uint64_t words_[kRegisters + kCells] = {};
    double floats_[kFloats] = {};
    size_t registersUsed_ = 0;
    size_t cellsUsed_ = 0;
    size_t floatsUsed_ = 0;
};

// Callees may rely on narrow numbers being extended to the whole register.
template <class Number>
uint64_t Extended(Number number) {
    return static_cast<uint64_t>(static_cast<int64_t>(number));
}

bool AddArgument(CallFrame& frame, VARTYPE type, const VARIANT& value) {
    if (type & (VT_BYREF | VT_ARRAY)) return frame.Add(reinterpret_cast<uintptr_t>(value.byref));
    switch (type) {
        case VT_I1:
            return frame.Add(Extended(static_cast<signed char>(value.cVal)));
        case VT_UI1:
            return frame.Add(value.bVal);
        case VT_I2:
        case VT_BOOL:
            return frame.Add(Extended(value.iVal));
        case VT_UI2:
            return frame.Add(value.uiVal);
        case VT_I4:
        case VT_INT:
        case VT_ERROR:
        case VT_HRESULT:
            return frame.Add(Extended(value.lVal));
        case VT_UI4:
        case VT_UINT:
            return frame.Add(value.ulVal);
        case VT_I8:
        case VT_UI8:
        case VT_CY:
        case VT_BSTR:
        case VT_DISPATCH:
        case VT_UNKNOWN:
        case VT_PTR:
            return frame.Add(value.ullVal);
        case VT_R4:
            return frame.AddFloat(value.ulVal);
        case VT_R8:
        case VT_DATE:
            return frame.AddFloat(value.ullVal);
        case VT_VARIANT:
            return frame.AddVariant(value);
        default:
            return false;
    }
}

HRESULT CallAndKeepResult(const CallFrame& frame, void* function, VARTYPE type, VARIANT& result) {
    result.vt = type;
    result.ullVal = 0;
    switch (type) {
        case VT_EMPTY:
        case VT_VOID:
            static_cast<void>(frame.Call<uint64_t>(function));
            break;
        case VT_ERROR:
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
            result.ulVal = static_cast<ULONG>(frame.Call<uint64_t>(function));
            break;
        case VT_I1:
        case VT_UI1:
            result.bVal = static_cast<BYTE>(frame.Call<uint64_t>(function));
            break;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            result.uiVal = static_cast<USHORT>(frame.Call<uint64_t>(function));
            break;
        case VT_R4:
            result.fltVal = frame.Call<float>(function);
            break;
        case VT_R8:
        case VT_DATE:
            result.dblVal = frame.Call<double>(function);
            break;
        case VT_I8:
        case VT_UI8:
        case VT_CY:
        case VT_BSTR:
        case VT_DISPATCH:
        case VT_UNKNOWN:
        case VT_PTR:
            result.ullVal = frame.Call<uint64_t>(function);
            break;
        default:
            result.vt = VT_EMPTY;
            return DISP_E_BADVARTYPE;
    }
    if (type == VT_VOID) result.vt = VT_EMPTY;
    return S_OK;
}

}  // namespace

WINOLEAUTAPI DispCallFunc(void* pvInstance, ULONG_PTR oVft, CALLCONV cc, VARTYPE vtReturn, UINT cActuals,
                          VARTYPE* prgvt, VARIANTARG** prgpvarg, VARIANT* pvargResult) {
    if (cc != CC_STDCALL && cc != CC_CDECL) return E_INVALIDARG;
    if (cActuals > kMaxArguments || (cActuals != 0 && (!prgvt || !prgpvarg))) return E_INVALIDARG;
    CallFrame frame;
    void* function = reinterpret_cast<void*>(oVft);  // without an object: the function itself
    if (pvInstance) {
        frame.Add(reinterpret_cast<uintptr_t>(pvInstance));
        const char* const table = *static_cast<const char* const*>(pvInstance);
        std::memcpy(&function, table + oVft, sizeof function);
    }
    for (UINT i = 0; i < cActuals; ++i) {
        if (!AddArgument(frame, prgvt[i], *prgpvarg[i])) return DISP_E_BADCALLEE;
    }
    VARIANT unwanted;
    return CallAndKeepResult(frame, function, vtReturn, pvargResult ? *pvargResult : unwanted);
}
