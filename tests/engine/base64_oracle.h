// Base64 written a second time, as plainly as possible: slow, one character at a time, bits as text.
#pragma once

#include <algorithm>
#include <bitset>
#include <cctype>
#include <random>
#include <string>
#include <string_view>

#include "server/results/result_codes.h"

namespace talvo::test {

inline const std::string kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string NaiveEncode(std::string_view bytes) {
    std::string bits;
    for (const char c : bytes) bits += std::bitset<8>(static_cast<unsigned char>(c)).to_string();
    while (bits.size() % 6 != 0) bits += "00";
    std::string text;
    for (size_t i = 0; i < bits.size(); i += 6) text += kDigits[std::stoul(bits.substr(i, 6), nullptr, 2)];
    while (text.size() % 4 != 0) text += '=';
    return text;
}

inline std::string Wrapped(std::string_view text, size_t line, std::string_view lineBreak) {
    std::string out;
    for (size_t i = 0; i < text.size(); i += line) out.append(i ? lineBreak : "").append(text.substr(i, line));
    return out;
}

struct NaiveResult {
    HRESULT Code = S_OK;
    std::string Bytes;
};

// Decodes one whole text. `held` are the bits of the quantum, `digits` what counts as its characters: the "=" in front
// of a second character makes them two without adding bits.
inline NaiveResult NaiveDecode(std::string_view text, bool tolerant) {
    NaiveResult result;
    HRESULT error = S_OK;
    std::string held;
    int digits = 0, pads = 0;
    const auto defect = [&](HRESULT code) {
        if (!tolerant) error = code;
        const HRESULT warning = static_cast<HRESULT>(static_cast<DWORD>(code) ^ 0x80000000u);
        if (result.Code == S_OK || code == berInvalidCharacterInData) result.Code = warning;
    };
    const auto drop = [&] { held.clear(), digits = 0; };
    for (const char c : text) {
        const size_t value = kDigits.find(c);
        if (value != std::string::npos) {
            if (pads > 0) {
                defect(berInvalidEndOfData), pads = 0;
            } else {
                held += std::bitset<6>(value).to_string(), ++digits;
            }
        } else if (c == '=') {
            if (digits >= 2) {
                held += "000000", ++pads;
            } else {
                defect(berInvalidEndOfData), digits = 2;
            }
        } else if (c == '\n' || c == '\r') {
            if (digits > 0) defect(berInvalidNumberOfCharacterOnLine), drop();
        } else if (c != ' ' && c != '\t' && c != '\f') {
            defect(berInvalidCharacterInData);
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
    if (digits > 0) defect(berRemainingData);
    return error != S_OK ? NaiveResult{error, {}} : result;
}

inline std::string RandomBytes(std::mt19937& random, size_t size) {
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

}  // namespace talvo::test
