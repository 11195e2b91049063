// Rows of a decoder's table: what a text gives in strict and in tolerant mode, at every split.
#pragma once

#include <string>

#include "tests/support/splits.h"

namespace talvo::test {

inline Setup TextDecoder(FormatKind kind, bool tolerant, int32_t lineBreak = kCrLf, bool header = true) {
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
    HRESULT error;      // strict; S_OK: nothing is wrong
    HRESULT reported;   // tolerant: the defect whose warning the whole run returns
    std::string bytes;  // tolerant
};

inline void CheckDefect(FormatKind kind, const DefectRow& row, bool header = true) {
    const auto decoder = [=](bool tolerant) { return TextDecoder(kind, tolerant, kCrLf, header); };
    CheckEverySplit(row.name, decoder(true), Direction::Decode, row.text, Warning(row.reported), row.bytes);
    SplitChecker strict(row.name, decoder(false), Direction::Decode, row.text, row.error,
                        row.error == S_OK ? row.bytes : "");
    strict.CheckEvery();
    EXPECT_TRUE(row.bytes.starts_with(strict.EmittedSingly())) << row.name << ": strict and tolerant part too early";
}

}  // namespace talvo::test
