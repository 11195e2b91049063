// Header line of UU and XX. The name is in the ANSI code page and takes as many bytes there as it needs.
#include <algorithm>
#include <string_view>
#include <utility>

#include "com/narrow_text.h"
#include "engine/uuxx.h"

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

HRESULT StoreHeader(const Conversion& c, const BeginLine& line) noexcept {
    com::UniqueBstr name;
    if (!line.Name.empty()) {
        name = com::Widen(CP_ACP, {reinterpret_cast<const char*>(line.Name.data()), line.Name.size()});
        if (!name) return E_OUTOFMEMORY;
    }
    c.StoreHeader([&](HeaderValues& values) {
        values.HeaderFilename = std::move(name);
        values.HeaderPermissions = line.Permissions;
    });
    return S_OK;
}

// The line collected so far has ended.
HRESULT EndOfSearchedLine(const Conversion& c) noexcept {
    UuXxState& s = c.Now.UuXx;
    const ByteSpan line(s.SearchedLine.Get(), std::exchange(s.SearchedLength, 0));
    s.AtLineStart = false;
    if (!IsBeginLine(line)) return S_OK;
    if (const HRESULT hr = StoreHeader(c, ParseBeginLine(line)); FAILED(hr)) return hr;
    s.HeaderFound = s.AtLineStart = true;
    return S_OK;
}

// Collects the characters in front of the next line break, as many as there is room for.
ByteSpan CollectSearchedLine(UuXxState& s, ByteSpan rest) noexcept {
    const auto count = static_cast<size_t>(std::find_if(rest.begin(), rest.end(), IsLineBreak) - rest.begin());
    const size_t kept = std::min<size_t>(count, UuXxState::kSearchedSize - s.SearchedLength);
    std::copy_n(rest.begin(), kept, s.SearchedLine.Get() + s.SearchedLength);
    s.SearchedLength += static_cast<uint32_t>(kept);
    return rest.subspan(count);
}

}  // namespace

uint64_t BeginLineSize(const HeaderValues& header) noexcept {
    const uint64_t name = com::NarrowSize(CP_ACP, header.HeaderFilename.Get());
    return name == 0 ? 0 : kBegin.size() + kPermissionDigits + 1 + name;
}

bool WriteBeginLine(const HeaderValues& header, Writer& write) noexcept {
    BYTE start[kBegin.size() + kPermissionDigits + 1];
    BYTE* next = std::copy(kBegin.begin(), kBegin.end(), start);
    for (unsigned digit = kPermissionDigits; digit-- != 0;) {
        *next++ = static_cast<BYTE>('0' + (header.HeaderPermissions >> (3 * digit) & 7));
    }
    *next = ' ';
    const uint32_t nameSize = com::NarrowSize(CP_ACP, header.HeaderFilename.Get());
    if (!write.Put(start)) return false;
    BYTE* const name = write.Take(nameSize);
    return name && com::Narrow(CP_ACP, header.HeaderFilename.Get(), name, nameSize);
}

HRESULT FindBeginLine(const Conversion& c, ByteSpan& rest) noexcept {
    UuXxState& s = c.Now.UuXx;
    while (!s.HeaderFound && !rest.empty()) {
        if (IsLineBreak(rest.front())) {
            s.AtLineStart = true;
            rest = rest.subspan(1);
        } else if (s.AtLineStart) {
            if (const HRESULT hr = EndOfSearchedLine(c); FAILED(hr)) return hr;
        } else {
            rest = CollectSearchedLine(s, rest);
        }
    }
    return S_OK;
}

}  // namespace talvo
