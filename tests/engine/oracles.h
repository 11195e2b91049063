// The formats written a second time, as plainly as possible: slow, one character at a time, bits as text, CRC by the
// definition's long division.
#pragma once

#include <algorithm>
#include <bitset>
#include <cctype>
#include <random>
#include <string>
#include <string_view>

#include "tests/engine/sessions.h"

namespace talvo::test {

inline const std::string kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string_view DigitsOf(FormatKind kind) {
    return kind == kUU       ? "`!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_"
           : kind == kXX     ? "+-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
           : kind == kBinHex ? "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr"
                             : std::string_view(kBase64Digits);
}

// Six bits a character, as many as the bytes need.
inline std::string Sextets(FormatKind kind, std::string_view bytes) {
    std::string bits, text;
    for (const char c : bytes) bits += std::bitset<8>(static_cast<unsigned char>(c)).to_string();
    while (bits.size() % 6 != 0) bits += '0';
    for (size_t i = 0; i < bits.size(); i += 6) text += DigitsOf(kind)[std::stoul(bits.substr(i, 6), nullptr, 2)];
    return text;
}

inline std::string Wrapped(std::string_view text, size_t line, std::string_view lineBreak) {
    std::string out;
    for (size_t i = 0; i < text.size(); i += line) out.append(i ? lineBreak : "").append(text.substr(i, line));
    return out;
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

// The data lines of any format but quoted-printable, at most `line` characters long.
inline std::string NaiveText(FormatKind kind, std::string_view bytes, size_t line, std::string_view lineBreak) {
    std::string text;
    if (kind == kBinHex) return Wrapped(Sextets(kind, NaiveRuns(bytes)), line, lineBreak);
    if (kind == kHexa) {
        for (const char c : bytes) text.append({"0123456789ABCDEF"[c >> 4 & 15], "0123456789ABCDEF"[c & 15]});
        return Wrapped(text, line, lineBreak);
    }
    if (kind == kBase64) {
        text = Sextets(kind, bytes);
        return Wrapped(text.append((4 - text.size() % 4) % 4, '='), line, lineBreak);
    }
    const size_t lineBytes = (line - 1) / 4 * 3;
    for (size_t at = 0; at < bytes.size(); at += lineBytes) {
        std::string source(bytes.substr(at, lineBytes));
        text.append(at == 0 ? "" : lineBreak) += DigitsOf(kind)[source.size()];
        text += Sextets(kind, source.append((3 - source.size() % 3) % 3, '\0'));
    }
    return text;
}

// Decodes one whole Base64 text. `held` are the bits of the group, `digits` what counts as its characters: the "=" in
// front of a second character makes them two without adding bits.
inline Fed NaiveDecode(std::string_view text, bool tolerant) {
    Fed result;
    HRESULT error = S_OK;
    std::string held;
    int digits = 0, pads = 0;
    const auto defect = [&](HRESULT code) {
        if (!tolerant) error = code;
        if (result.Code == S_OK || code == kCharacter) result.Code = Warning(code);
    };
    const auto drop = [&] { held.clear(), digits = 0; };
    for (const char c : text) {
        const size_t value = kBase64Digits.find(c);
        if (value != std::string::npos) {
            if (pads > 0) {
                defect(kEnd), pads = 0;
            } else {
                held += std::bitset<6>(value).to_string(), ++digits;
            }
        } else if (c == '=') {
            if (digits >= 2) {
                held += "000000", ++pads;
            } else {
                defect(kEnd), digits = 2;
            }
        } else if (c == '\n' || c == '\r') {
            if (digits > 0) defect(kLine), drop();
        } else if (c != ' ' && c != '\t' && c != '\f') {
            defect(kCharacter);
        }
        if (error != S_OK) return {error, {}};
        if (digits + pads == 4) {
            held.insert(0, 24 - std::min<size_t>(held.size(), 24), '0');
            for (int i = 0; i < 3 - pads; ++i) {
                const auto at = held.size() - 24 + 8 * static_cast<size_t>(i);
                result.Bytes += static_cast<char>(std::stoul(held.substr(at, 8), nullptr, 2));
            }
            drop();
        }
    }
    if (digits > 0) defect(kLeft);
    return error != S_OK ? Fed{error, {}} : result;
}

inline std::string RandomBytes(std::mt19937& random, size_t size) {
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

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

inline const std::string kIdentification = "(This file must be converted with BinHex 4.0)";

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
        return kIdentification + end + Wrapped(":" + Sextets(kBinHex, coded), line, lineBreak) + ":" + end;
    }
};

// An accented letter and a dash, as both code pages that these tests meet have them.
constexpr std::u16string_view kAccented = u"\u00E9t\u00E9 \u2013 1";
inline std::string NarrowAccented() {
    return GetACP() == CP_UTF8 ? "\xC3\xA9t\xC3\xA9 \xE2\x80\x93 1" : "\xE9t\xE9 \x96 1";
}

}  // namespace talvo::test
