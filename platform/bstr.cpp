// BSTR: the length in bytes stands in the four bytes before the characters, a zero character behind them. Eight bytes
// precede the text, so that it is aligned as the block is on 64-bit Windows.
#include <oleauto.h>

#include <string.h>

#include <string>

namespace {

constexpr SIZE_T kPrefix = 8;
constexpr UINT kMaxBytes = 0xFFFFFFFF - 2 * sizeof(OLECHAR) - kPrefix;

using Text = std::char_traits<OLECHAR>;

BYTE* Block(BSTR text) { return reinterpret_cast<BYTE*>(text) - kPrefix; }

UINT* Length(BYTE* block) { return reinterpret_cast<UINT*>(block + kPrefix - sizeof(UINT)); }

// An odd length is padded, so that the terminator is a whole character whichever way the text is read.
SIZE_T BlockSize(UINT bytes) { return kPrefix + bytes + bytes % 2 + sizeof(OLECHAR); }

BSTR Finish(BYTE* block, UINT bytes) {
    *Length(block) = bytes;
    memset(block + kPrefix + bytes, 0, BlockSize(bytes) - kPrefix - bytes);
    return reinterpret_cast<BSTR>(block + kPrefix);
}

// Without a source the content is zero: callers fill it, and a forgotten part is at least the same everywhere.
BSTR Allocate(const void* source, UINT bytes) {
    if (bytes > kMaxBytes) return nullptr;
    auto* block = static_cast<BYTE*>(CoTaskMemAlloc(BlockSize(bytes)));
    if (!block) return nullptr;
    if (source) {
        memcpy(block + kPrefix, source, bytes);
    } else {
        memset(block + kPrefix, 0, bytes);
    }
    return Finish(block, bytes);
}

constexpr bool FitsInBytes(SIZE_T characters) { return characters <= kMaxBytes / sizeof(OLECHAR); }

}  // namespace

BSTR SysAllocString(const OLECHAR* psz) {
    if (!psz) return nullptr;
    const SIZE_T length = Text::length(psz);
    return FitsInBytes(length) ? SysAllocStringLen(psz, static_cast<UINT>(length)) : nullptr;
}

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
    return FitsInBytes(ui) ? Allocate(strIn, ui * static_cast<UINT>(sizeof(OLECHAR))) : nullptr;
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT len) { return Allocate(psz, len); }

void SysFreeString(BSTR bstrString) {
    if (bstrString) CoTaskMemFree(Block(bstrString));
}

UINT SysStringByteLen(BSTR bstr) { return bstr ? *Length(Block(bstr)) : 0; }

UINT SysStringLen(BSTR bstr) { return SysStringByteLen(bstr) / static_cast<UINT>(sizeof(OLECHAR)); }
