#include "server/control/extent.h"

#include <limits>

namespace talvo {
namespace {

constexpr DWORD kFormNumber = 1;

void Put(PersistedForm& form, size_t place, DWORD value) noexcept {
    for (size_t i = 0; i < 4; ++i) form[place + i] = static_cast<BYTE>(value >> (8 * i));
}

DWORD Get(std::span<const BYTE> bytes, size_t place) noexcept {
    DWORD value = 0;
    for (size_t i = 0; i < 4; ++i) value |= static_cast<DWORD>(bytes[place + i]) << (8 * i);
    return value;
}

bool IsLength(DWORD value) noexcept { return value <= static_cast<DWORD>(std::numeric_limits<LONG>::max()); }

}  // namespace

PersistedForm WriteForm(const Extent& extent) noexcept {
    PersistedForm form{};
    Put(form, 0, kFormNumber);
    Put(form, 4, static_cast<DWORD>(extent.Width));
    Put(form, 8, static_cast<DWORD>(extent.Height));
    return form;
}

HRESULT ReadForm(std::span<const BYTE> bytes, Extent& extent) noexcept {
    if (bytes.size() < PersistedForm().size()) return STG_E_READFAULT;
    if (Get(bytes, 0) != kFormNumber) return STG_E_INVALIDHEADER;
    const DWORD width = Get(bytes, 4);
    const DWORD height = Get(bytes, 8);
    if (!IsLength(width) || !IsLength(height)) return DISP_E_OVERFLOW;
    extent = {static_cast<LONG>(width), static_cast<LONG>(height)};
    return S_OK;
}

HRESULT ReadProperty(const VARIANT& value, LONG& length) noexcept {
    if (V_VT(&value) == VT_EMPTY) return S_OK;
    VARIANT number;
    VariantInit(&number);
    auto* const source = const_cast<VARIANT*>(&value);  // the system's header asks for more than the call needs
    if (const HRESULT hr = VariantChangeType(&number, source, 0, VT_UI4); FAILED(hr)) return hr;
    if (!IsLength(V_UI4(&number))) return DISP_E_OVERFLOW;
    length = static_cast<LONG>(V_UI4(&number));
    return S_OK;
}

}  // namespace talvo
