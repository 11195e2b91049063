// Narrow and wide text: UTF-8, which is also the ANSI code page here, and windows-1252, which headers of files use. What
// does not convert becomes U+FFFD or the default character, or fails if the caller said so.
#include <windows.h>

#include <stdint.h>

#include <string>

#include "platform/last_error.h"

namespace {

using platform::Fail;

constexpr DWORD kMultiByteFlags = MB_PRECOMPOSED | MB_COMPOSITE | MB_USEGLYPHCHARS | MB_ERR_INVALID_CHARS;
constexpr DWORD kWideCharFlags =
    WC_DISCARDNS | WC_SEPCHARS | WC_DEFAULTCHAR | WC_ERR_INVALID_CHARS | WC_COMPOSITECHECK | WC_NO_BEST_FIT_CHARS;
constexpr uint32_t kInvalid = 0xFFFFFFFF;
constexpr char16_t kReplacement = 0xFFFD;

// What 1252 has at 0x80 to 0x9F. The five bytes without a character stand for the control of the same number.
constexpr char16_t kUpper1252[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                     0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                     0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Where a conversion goes: it only counts when there is no buffer, and fails when the buffer ends.
template <class Unit>
class Sink {
public:
    Sink(Unit* buffer, int size) : buffer_(buffer), size_(size) {}
    void Put(uint32_t unit) {
        if (size_ != 0 && count_ < size_) buffer_[count_] = static_cast<Unit>(unit);
        ++count_;
    }
    int Result() const {
        const long long room = size_ != 0 ? size_ : INT32_MAX;
        return count_ > room ? Fail(ERROR_INSUFFICIENT_BUFFER) : static_cast<int>(count_);
    }

private:
    Unit* buffer_;
    int size_;
    long long count_ = 0;
};

// Reads one character. A sequence breaks off at the first byte that cannot continue it; a byte that only shows that the
// character is overlong, a surrogate or out of range belongs to the broken sequence.
uint32_t NextUtf8(const unsigned char*& at, const unsigned char* end) {
    const uint32_t lead = *at++;
    if (lead < 0x80) return lead;
    if (lead < 0xC2 || lead > 0xF4) return kInvalid;
    const int more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    uint32_t value = lead & (0x3Fu >> more);
    for (int i = 0; i < more; ++i) {
        if (at == end || (*at & 0xC0) != 0x80) return kInvalid;
        value = value << 6 | (*at++ & 0x3F);
        const bool second = i == 0;
        if (second && more == 2 && (value < 0x20 || (value >= 0x360 && value < 0x380))) return kInvalid;
        if (second && more == 3 && (value < 0x10 || value >= 0x110)) return kInvalid;
    }
    return value;
}

uint32_t NextUtf16(const WCHAR*& at, const WCHAR* end) {
    const uint32_t unit = *at++;
    if ((unit & 0xF800) != 0xD800) return unit;
    if (unit >= 0xDC00 || at == end || (*at & 0xFC00) != 0xDC00) return kInvalid;
    return 0x10000 + ((unit & 0x3FF) << 10) + (*at++ & 0x3FFu);
}

void PutUtf16(Sink<WCHAR>& out, uint32_t value) {
    if (value < 0x10000) return out.Put(value);
    out.Put(0xD800 + ((value - 0x10000) >> 10));
    out.Put(0xDC00 + (value & 0x3FF));
}

void PutUtf8(Sink<char>& out, uint32_t value) {
    if (value < 0x80) return out.Put(value);
    if (value < 0x800) {
        out.Put(0xC0 | value >> 6);
    } else {
        if (value < 0x10000) {
            out.Put(0xE0 | value >> 12);
        } else {
            out.Put(0xF0 | value >> 18);
            out.Put(0x80 | (value >> 12 & 0x3F));
        }
        out.Put(0x80 | (value >> 6 & 0x3F));
    }
    out.Put(0x80 | (value & 0x3F));
}

int WidenUtf8(const char* source, int size, bool strict, Sink<WCHAR> out) {
    const auto* at = reinterpret_cast<const unsigned char*>(source);
    for (const auto* end = at + size; at != end;) {
        const uint32_t value = NextUtf8(at, end);
        if (value == kInvalid && strict) return Fail(ERROR_NO_UNICODE_TRANSLATION);
        PutUtf16(out, value == kInvalid ? kReplacement : value);
    }
    return out.Result();
}

int Widen1252(const char* source, int size, Sink<WCHAR> out) {
    for (int i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(source[i]);
        out.Put(byte >= 0x80 && byte < 0xA0 ? kUpper1252[byte - 0x80] : byte);
    }
    return out.Result();
}

int NarrowUtf8(const WCHAR* source, int size, bool strict, Sink<char> out) {
    for (const WCHAR *at = source, *end = source + size; at != end;) {
        const uint32_t value = NextUtf16(at, end);
        if (value == kInvalid && strict) return Fail(ERROR_NO_UNICODE_TRANSLATION);
        PutUtf8(out, value == kInvalid ? kReplacement : value);
    }
    return out.Result();
}

// The byte for a character, or -1.
int ByteOf1252(WCHAR unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return unit;
    for (int i = 0; i < 32; ++i) {
        if (kUpper1252[i] == unit) return 0x80 + i;
    }
    return -1;
}

int Narrow1252(const WCHAR* source, int size, char defaultChar, BOOL* usedDefault, Sink<char> out) {
    BOOL used = FALSE;
    for (int i = 0; i < size; ++i) {
        const int byte = ByteOf1252(source[i]);
        used |= byte < 0;
        out.Put(static_cast<unsigned char>(byte < 0 ? defaultChar : byte));
    }
    if (usedDefault) *usedDefault = used;
    return out.Result();
}

// A negative length means up to and including the terminator; -1 comes back for a text too long to count.
template <class Unit>
int LengthOf(const Unit* text, int given) {
    if (given >= 0) return given;
    const size_t length = std::char_traits<Unit>::length(text) + 1;
    return length <= INT32_MAX ? static_cast<int>(length) : -1;
}

template <class Source, class Target>
bool BadArguments(const Source* source, int sourceSize, const Target* target, int targetSize) {
    return !source || sourceSize == 0 || targetSize < 0 || (targetSize > 0 && !target);
}

UINT Resolve(UINT codePage) { return codePage == CP_ACP ? GetACP() : codePage; }

}  // namespace

UINT GetACP() { return CP_UTF8; }

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCCH lpMultiByteStr, int cbMultiByte, LPWSTR lpWideCharStr,
                        int cchWideChar) {
    if (BadArguments(lpMultiByteStr, cbMultiByte, lpWideCharStr, cchWideChar)) return Fail(ERROR_INVALID_PARAMETER);
    if (dwFlags & ~kMultiByteFlags) return Fail(ERROR_INVALID_FLAGS);
    const int size = LengthOf(lpMultiByteStr, cbMultiByte);
    if (size < 0) return Fail(ERROR_INVALID_PARAMETER);
    const Sink<WCHAR> out(lpWideCharStr, cchWideChar);
    switch (Resolve(CodePage)) {
        case CP_UTF8:
            return WidenUtf8(lpMultiByteStr, size, dwFlags & MB_ERR_INVALID_CHARS, out);
        case 1252:
            return Widen1252(lpMultiByteStr, size, out);
        default:
            return Fail(ERROR_INVALID_PARAMETER);
    }
}

int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWCH lpWideCharStr, int cchWideChar, LPSTR lpMultiByteStr,
                        int cbMultiByte, LPCCH lpDefaultChar, LPBOOL lpUsedDefaultChar) {
    if (BadArguments(lpWideCharStr, cchWideChar, lpMultiByteStr, cbMultiByte)) return Fail(ERROR_INVALID_PARAMETER);
    if (dwFlags & ~kWideCharFlags) return Fail(ERROR_INVALID_FLAGS);
    const int size = LengthOf(lpWideCharStr, cchWideChar);
    if (size < 0) return Fail(ERROR_INVALID_PARAMETER);
    const Sink<char> out(lpMultiByteStr, cbMultiByte);
    switch (Resolve(CodePage)) {
        case CP_UTF8:  // has every character, so a default character is a mistake of the caller
            if (lpDefaultChar || lpUsedDefaultChar) return Fail(ERROR_INVALID_PARAMETER);
            return NarrowUtf8(lpWideCharStr, size, dwFlags & WC_ERR_INVALID_CHARS, out);
        case 1252:
            return Narrow1252(lpWideCharStr, size, lpDefaultChar ? *lpDefaultChar : '?', lpUsedDefaultChar, out);
        default:
            return Fail(ERROR_INVALID_PARAMETER);
    }
}
