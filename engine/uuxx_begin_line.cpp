// Header line of UU and XX. The name is in the ANSI code page and takes as many bytes there as it needs.
#include "engine/uuxx_begin_line.h"

#include <algorithm>
#include <mutex>
#include <string_view>
#include <utility>

#include "engine/narrow_name.h"

namespace talvo {
namespace {

constexpr std::string_view kBegin = "begin ";
constexpr unsigned kPermissionDigits = 4;

constexpr bool IsBlank(BYTE c) noexcept { return c <= 0x20; }
constexpr bool IsOctalDigit(BYTE c) noexcept { return c >= '0' && c <= '7'; }
constexpr bool IsLineBreak(BYTE c) noexcept { return c == '\n' || c == '\r'; }

ByteSpan WithoutBlanksBefore(ByteSpan text) noexcept {
    return text.subspan(static_cast<size_t>(std::find_if_not(text.begin(), text.end(), IsBlank) - text.begin()));
}

ByteSpan WithoutBlanksBehind(ByteSpan text) noexcept {
    return text.first(static_cast<size_t>(text.rend() - std::find_if_not(text.rbegin(), text.rend(), IsBlank)));
}

struct BeginLine {
    uint16_t Permissions = 0;
    ByteSpan Name;
};

// Octal digits and blanks are permissions up to the first other byte, where the name starts; so digits that a blank
// separates from the permissions count for these. If there is no blank between, or no other byte at all, it is all
// name.
BeginLine ParseBeginLine(ByteSpan line) noexcept {
    const ByteSpan fields = WithoutBlanksBefore(WithoutBlanksBehind(line.subspan(kBegin.size())));
    uint16_t permissions = 0;
    bool blankSeen = false;
    size_t at = 0;
    for (; at < fields.size() && (IsBlank(fields[at]) || IsOctalDigit(fields[at])); ++at) {
        if (IsBlank(fields[at])) {
            blankSeen = true;
        } else {
            permissions = static_cast<uint16_t>(permissions << 3 | (fields[at] - '0'));
        }
    }
    if (at == fields.size() || !blankSeen) return {0, fields};
    return {permissions, fields.subspan(at)};
}

bool IsBeginLine(ByteSpan line) noexcept {
    return line.size() > kBegin.size() && std::equal(kBegin.begin(), kBegin.end(), line.begin());
}

HRESULT StoreHeader(EncodingSession& s, const BeginLine& line) noexcept {
    com::UniqueBstr name;
    if (!line.Name.empty()) {
        name = Widen(CP_ACP, line.Name);
        if (!name) return E_OUTOFMEMORY;
    }
    const auto hold = s.LockHeader();
    s.HeaderFilename = std::move(name);
    s.HeaderPermissions = line.Permissions;
    return S_OK;
}

// The line collected so far has ended.
HRESULT EndOfSearchedLine(EncodingSession& s) noexcept {
    const ByteSpan line(s.WorkBuffer.Get(), std::exchange(s.WorkLength, 0));
    s.AtLineStart = false;
    if (!IsBeginLine(line)) return S_OK;
    if (const HRESULT hr = StoreHeader(s, ParseBeginLine(line)); FAILED(hr)) return hr;
    s.HeaderFound = s.AtLineStart = true;
    return S_OK;
}

// Collects the characters in front of the next line break, as many as the work buffer takes.
ByteSpan CollectSearchedLine(EncodingSession& s, ByteSpan rest) noexcept {
    const auto count = static_cast<size_t>(std::find_if(rest.begin(), rest.end(), IsLineBreak) - rest.begin());
    const size_t kept = std::min<size_t>(count, kDecoderWorkSize - s.WorkLength);
    std::copy_n(rest.begin(), kept, s.WorkBuffer.Get() + s.WorkLength);
    s.WorkLength += static_cast<uint32_t>(kept);
    return rest.subspan(count);
}

}  // namespace

uint64_t BeginLineSize(const EncodingSession& s) noexcept {
    const uint64_t name = NarrowSize(CP_ACP, s.HeaderFilename.Get());
    return name == 0 ? 0 : kBegin.size() + kPermissionDigits + 1 + name;
}

bool WriteBeginLine(const EncodingSession& s, Writer& write) noexcept {
    BYTE start[kBegin.size() + kPermissionDigits + 1];
    BYTE* next = std::copy(kBegin.begin(), kBegin.end(), start);
    for (unsigned digit = kPermissionDigits; digit-- != 0;) {
        *next++ = static_cast<BYTE>('0' + (s.HeaderPermissions >> (3 * digit) & 7));
    }
    *next = ' ';
    const uint32_t nameSize = NarrowSize(CP_ACP, s.HeaderFilename.Get());
    if (!write.Put(start)) return false;
    BYTE* const name = write.Take(nameSize);
    return name && Narrow(CP_ACP, s.HeaderFilename.Get(), name, nameSize);
}

HRESULT FindBeginLine(EncodingSession& s, ByteSpan& rest) noexcept {
    while (!s.HeaderFound && !rest.empty()) {
        if (IsLineBreak(rest.front())) {
            s.AtLineStart = true;
            rest = rest.subspan(1);
        } else if (s.AtLineStart) {
            if (const HRESULT hr = EndOfSearchedLine(s); FAILED(hr)) return hr;
        } else {
            rest = CollectSearchedLine(s, rest);
        }
    }
    return S_OK;
}

}  // namespace talvo
