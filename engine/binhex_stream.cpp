// The header block of BinHex, both ways. Its name has one byte a character: that of the system's code page, and of
// windows-1252 where that is UTF-8.
#include "engine/binhex_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "engine/crc16.h"

namespace talvo {
namespace {

UINT NameCodePage() noexcept {
    constexpr UINT kWindows1252 = 1252;
    const UINT system = GetACP();
    return system == CP_UTF8 ? kWindows1252 : system;
}

BYTE* PutBigEndian(BYTE* place, uint32_t value, unsigned bytes) noexcept {
    for (unsigned i = bytes; i-- > 0;) *place++ = static_cast<BYTE>(value >> 8 * i);
    return place;
}

uint32_t BigEndian(ByteSpan bytes) noexcept {
    uint32_t value = 0;
    for (const BYTE byte : bytes) value = value << 8 | byte;
    return value;
}

// As many bytes as the name has UTF-16 units, at most kBinHexLongestName. Converts one unit more than is used, so that
// the cut never splits a surrogate pair.
size_t PutName(BYTE* place, BSTR name) noexcept {
    constexpr size_t kLongestCharacter = 8;
    const size_t units = std::min<size_t>(SysStringLen(name), kBinHexLongestName + 1);
    char narrow[(kBinHexLongestName + 1) * kLongestCharacter] = {};
    WideCharToMultiByte(NameCodePage(), 0, name, static_cast<int>(units), narrow, sizeof narrow, nullptr, nullptr);
    const size_t size = std::min(units, kBinHexLongestName);
    std::memcpy(place, narrow, size);
    return size;
}

HRESULT ReadName(ByteSpan bytes, com::UniqueBstr& name) noexcept {
    const auto size = static_cast<int>(std::find(bytes.begin(), bytes.end(), BYTE{0}) - bytes.begin());
    WCHAR wide[0xFF];
    int units = 0;
    if (size != 0) {
        units = MultiByteToWideChar(NameCodePage(), 0, reinterpret_cast<const char*>(bytes.data()), size, wide, 0xFF);
    }
    name.Reset(SysAllocStringLen(wide, static_cast<UINT>(units)));
    return name ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

EncodedHeader BuildHeaderBlock(const HeaderValues& values) noexcept {
    EncodedHeader header;
    const size_t nameSize = PutName(header.Bytes + 1, values.BinHexHeaderFilename.Get());
    header.Bytes[0] = static_cast<BYTE>(nameSize);
    BYTE* place = header.Bytes + 1 + nameSize;
    *place++ = 0;  // version
    place = std::copy(std::begin(values.HeaderType), std::end(values.HeaderType), place);
    place = std::copy(std::begin(values.HeaderCreator), std::end(values.HeaderCreator), place);
    place = PutBigEndian(place, values.HeaderFlags, 2);
    place = PutBigEndian(place, values.HeaderDataForkLength, 4);
    place = PutBigEndian(place, values.HeaderResourceForkLength, 4);
    place = PutBigEndian(place, Crc16(ByteSpan(header.Bytes, place)), kCrcSize);
    header.Size = static_cast<size_t>(place - header.Bytes);
    return header;
}

bool IsIntact(ByteSpan block) noexcept {
    const size_t covered = block.size() - kCrcSize;
    return Crc16(block.first(covered)) == BigEndian(block.subspan(covered));
}

HRESULT StoreHeaderValues(const Conversion& c, ByteSpan block) noexcept {
    const size_t nameSize = block[0];
    com::UniqueBstr name;
    if (const HRESULT hr = ReadName(block.subspan(1, nameSize), name); FAILED(hr)) return hr;
    const ByteSpan fields = block.subspan(2 + nameSize);

    c.StoreHeader([&](HeaderValues& values) {
        values.BinHexHeaderFilename = std::move(name);
        std::memcpy(values.HeaderType, fields.data(), sizeof values.HeaderType);
        std::memcpy(values.HeaderCreator, fields.data() + 4, sizeof values.HeaderCreator);
        values.HeaderFlags = static_cast<uint16_t>(BigEndian(fields.subspan(8, 2)));
        values.HeaderDataForkLength = BigEndian(fields.subspan(10, 4));
        values.HeaderResourceForkLength = BigEndian(fields.subspan(14, 4));
    });
    return S_OK;
}

}  // namespace talvo
