// Sessions of every format as the tests want them, and rows of a decoder's table: what a text gives in strict and in
// tolerant mode, at every split.
#pragma once

#include <string>
#include <string_view>

#include "tests/support/splits.h"

namespace talvo::test {

constexpr auto kUU = FormatKind::UU, kXX = FormatKind::XX, kBase64 = FormatKind::Base64, kHexa = FormatKind::Hexa,
               kQP = FormatKind::QuotedPrintable, kBinHex = FormatKind::BinHex;
constexpr HRESULT kCharacter = berInvalidCharacterInData, kEnd = berInvalidEndOfData, kLeft = berRemainingData,
                  kLine = berInvalidNumberOfCharacterOnLine, kLength = berInvalidLineLengthInData;

inline com::UniqueBstr WideName(std::u16string_view name) {
    com::UniqueBstr wide(SysAllocStringLen(nullptr, static_cast<UINT>(name.size())));
    for (size_t i = 0; i < name.size(); ++i) wide.Get()[i] = static_cast<OLECHAR>(name[i]);
    return wide;
}

inline std::u16string TextOf(const com::UniqueBstr& name) {
    const BSTR text = name.Get();
    return text ? std::u16string(text, text + SysStringLen(text)) : u"(null)";
}

// Without a name there is no header.
inline Setup Encoder(FormatKind kind, uint32_t line = 0, int32_t lineBreak = kCrLf, std::u16string_view name = {}) {
    return [=, name = std::u16string(name)](EncodingSession& s) {
        ASSERT_EQ(s.SelectFormat(kind), S_OK);
        ASSERT_EQ(s.SetMaxLineLength(line), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
        s.IncludeHeaderFooter = !name.empty();
        if (!name.empty()) (kind == kBinHex ? s.BinHexHeaderFilename : s.HeaderFilename) = WideName(name);
    };
}

inline Setup Decoder(FormatKind kind, bool tolerant, bool header = true, int32_t lineBreak = kCrLf) {
    return [=](EncodingSession& s) {
        ASSERT_EQ(s.SelectFormat(kind), S_OK);
        ASSERT_EQ(s.SetEndOfLineType(lineBreak), S_OK);
        s.ContinueOnInvalidData = tolerant;
        s.IncludeHeaderFooter = header;
    };
}

constexpr HRESULT Warning(HRESULT error) {
    return error == S_OK ? S_OK : static_cast<HRESULT>(static_cast<DWORD>(error) & 0x7FFFFFFF);
}

struct DefectRow {
    const char* name;
    std::string text;
    HRESULT error;             // strict; S_OK: nothing is wrong
    std::string bytes;         // tolerant
    HRESULT reported = error;  // tolerant: the defect whose warning the whole run returns
};

inline void CheckDefect(FormatKind kind, const DefectRow& row, bool header = true) {
    CheckEverySplit(row.name, Decoder(kind, true, header), Direction::Decode, row.text, Warning(row.reported),
                    row.bytes);
    SplitChecker strict(row.name, Decoder(kind, false, header), Direction::Decode, row.text, row.error,
                        row.error == S_OK ? row.bytes : "");
    strict.CheckEvery();
    EXPECT_TRUE(row.bytes.starts_with(strict.EmittedSingly())) << row.name << ": strict and tolerant part too early";
}

}  // namespace talvo::test
