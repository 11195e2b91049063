// By the conversions of com/narrow_text.h; what converts to nothing is refused.
#include "component/text.h"

#include "com/narrow_text.h"

namespace talvo {

HRESULT BytesToText(const BYTE* bytes, uint32_t count, BSTR* text) noexcept {
    com::UniqueBstr wide = com::Widen(CP_ACP, {reinterpret_cast<const char*>(bytes), count}, MB_PRECOMPOSED);
    if (!wide) return E_OUTOFMEMORY;
    if (SysStringLen(wide.Get()) == 0) return E_INVALIDARG;
    *text = wide.Detach();
    return S_OK;
}

HRESULT TextToBytes(BSTR text, BYTE** bytes, DWORD* count) noexcept {
    const uint32_t size = com::NarrowSize(CP_ACP, text);
    if (size == 0) return E_INVALIDARG;
    com::UniqueTaskBytes narrow(static_cast<BYTE*>(com::TaskAlloc(size)));
    if (!narrow) return E_OUTOFMEMORY;
    if (!com::Narrow(CP_ACP, text, narrow.Get(), size)) return E_INVALIDARG;
    *bytes = narrow.Detach();
    *count = size;
    return S_OK;
}

}  // namespace talvo
