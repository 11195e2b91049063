// The layers of BinHex written a second time, as plainly as possible: bits as text, CRC by the definition's long
// division.
#pragma once

#include <bitset>
#include <string>
#include <string_view>

#include "tests/engine/base64_oracle.h"
#include "tests/support/splits.h"

namespace talvo::test {

inline const std::string kIdentification = "(This file must be converted with BinHex 4.0)";

inline std::string BigEndianText(uint64_t value, unsigned bytes) {
    std::string text;
    while (bytes-- > 0) text += static_cast<char>(value >> 8 * bytes);
    return text;
}

inline std::string WithCrc(const std::string& bytes) {
    unsigned crc = 0;
    for (const char c : bytes + std::string(2, '\0')) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool carry = crc & 0x8000;
            crc = (crc << 1 | (static_cast<unsigned char>(c) >> bit & 1)) & 0xFFFF;
            if (carry) crc ^= 0x1021;
        }
    }
    return bytes + BigEndianText(crc, 2);
}

inline std::string NaiveRuns(std::string_view bytes) {
    std::string coded;
    for (size_t i = 0, n = 0; i < bytes.size(); i += n) {
        n = std::min({bytes.find_first_not_of(bytes[i], i) - i, bytes.size() - i, size_t{255}});
        const bool marker = bytes[i] == '\x90';
        coded += marker ? std::string("\x90\0", 2) : std::string(n < 3 ? n : 1, bytes[i]);
        if (n > (marker ? 1u : 2u)) coded += std::string("\x90") + static_cast<char>(n);
    }
    return coded;
}

inline std::string NaiveCharacters(std::string_view coded) {
    static const std::string kAlphabet = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    std::string text;
    for (const char c : NaiveEncode(coded)) {
        if (c != '=') text += kAlphabet[kDigits.find(c)];
    }
    return text;
}

// A file with type "TEXT", creator "ttxt" and flags 0x1234.
struct BinHexFile {
    std::string Name, Data, Resource;

    std::string Header() const {
        return WithCrc(static_cast<char>(Name.size()) + Name + '\0' + "TEXTttxt\x12\x34" +
                       BigEndianText(Data.size(), 4) + BigEndianText(Resource.size(), 4));
    }
    std::string Binary() const { return Header() + WithCrc(Data) + WithCrc(Resource); }
    std::string Text(size_t line = 64, std::string_view lineBreak = "\r\n") const {
        return Framed(NaiveRuns(Binary()), line, lineBreak);
    }
    static std::string Framed(std::string_view coded, size_t line = 64, std::string_view lineBreak = "\r\n") {
        const std::string end(lineBreak);
        return kIdentification + end + Wrapped(":" + NaiveCharacters(coded), line, lineBreak) + ":" + end;
    }
};

// Bytes with many markers and runs, some longer than a count reaches.
inline std::string RunnyBytes(std::mt19937& random, size_t size) {
    static const size_t kLengths[] = {1, 1, 1, 2, 3, 4, 254, 255, 256, 510};
    std::string bytes;
    while (bytes.size() < size) {
        const char c = random() % 2 ? '\x90' : random() % 2 ? '\0' : static_cast<char>(random());
        bytes.append(random() % 4 ? kLengths[random() % 6] : kLengths[random() % std::size(kLengths)], c);
    }
    bytes.resize(size);
    return bytes;
}

inline Setup BinHexSession(bool header = true, bool tolerant = false) {
    return [=](EncodingSession& s) {
        ASSERT_EQ(s.SelectFormat(FormatKind::BinHex), S_OK);
        s.IncludeHeaderFooter = header;
        s.ContinueOnInvalidData = tolerant;
    };
}

struct RunRow {
    const char* name;
    std::string bytes;
    std::string coded;
};

// What a run is written as; read back it is the same.
inline std::vector<RunRow> RunRows() {
    using namespace std::string_literals;
    const auto times = [](size_t count, char c) { return std::string(count, c); };
    return {
        {"nothing", "", ""},
        {"single bytes and pairs", "ABBCAA", "ABBCAA"},
        {"three and four", "AAABBBB",
         "A\x90\x03"
         "B\x90\x04"},
        {"longest run", times(255, 'A'), "A\x90\xFF"},
        {"one more", times(256, 'A'),
         "A\x90\xFF"
         "A"},
        {"two more", times(257, 'A'),
         "A\x90\xFF"
         "AA"},
        {"a run after the longest", times(300, 'A'),
         "A\x90\xFF"
         "A\x90\x2D"},
        {"two longest", times(510, 'A') + "B",
         "A\x90\xFF"
         "A\x90\xFF"
         "B"},
        {"marker", "\x90", "\x90\0"s},
        {"markers",
         "A\x90\x90"
         "B",
         "A\x90\0\x90\x02"
         "B"s},
        {"many markers", times(300, '\x90'), "\x90\0\x90\xFF\x90\0\x90\x2D"s},
        {"marker between equal bytes",
         "AA\x90"
         "AAA",
         "AA\x90\0A\x90\x03"s},
        {"a run of 144", times(144, 'x') + times(144, '\x90'), "x\x90\x90\x90\0\x90\x90"s},
        {"runs of zeros", times(3, '\0') + "\1" + times(4, '\0'), "\0\x90\x03\1\0\x90\x04"s},
    };
}

}  // namespace talvo::test
