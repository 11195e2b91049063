// Both conversions ask for the length first and allocate exactly that.
#include "component/text.h"

#include <limits>

#include "com/unique.h"

namespace talvo {
namespace {

// The platform's calls count in signed 32 bits.
constexpr uint32_t kMaxCount = std::numeric_limits<int>::max();

}  // namespace

HRESULT BytesToText(const BYTE* bytes, uint32_t count, BSTR* text) noexcept {
    if (count > kMaxCount) return E_OUTOFMEMORY;
    const auto narrow = reinterpret_cast<LPCSTR>(bytes);
    const int size = static_cast<int>(count);
    const int length = MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, narrow, size, nullptr, 0);
    if (length <= 0) return E_INVALIDARG;
    com::UniqueBstr converted(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (!converted) return E_OUTOFMEMORY;
    if (MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, narrow, size, converted.Get(), length) != length)
        return E_INVALIDARG;
    *text = converted.Detach();
    return S_OK;
}

HRESULT TextToBytes(BSTR text, BYTE** bytes, DWORD* count) noexcept {
    const UINT characters = SysStringLen(text);
    if (characters > kMaxCount) return E_OUTOFMEMORY;
    const int length = static_cast<int>(characters);
    const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return E_INVALIDARG;
    com::UniqueTaskBytes converted(static_cast<BYTE*>(com::TaskAlloc(static_cast<SIZE_T>(size))));
    if (!converted) return E_OUTOFMEMORY;
    const auto narrow = reinterpret_cast<LPSTR>(converted.Get());
    if (WideCharToMultiByte(CP_ACP, 0, text, length, narrow, size, nullptr, nullptr) != size) return E_INVALIDARG;
    *bytes = converted.Detach();
    *count = static_cast<DWORD>(size);
    return S_OK;
}

}  // namespace talvo
