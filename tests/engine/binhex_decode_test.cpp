// The BinHex decoder: where the data starts and ends, every defect strict and tolerant, header values, and texts
// that unfold to far more than they are.
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/oracles.h"

namespace talvo::test {
namespace {

using namespace std::string_literals;

constexpr HRESULT kHeader = berInvalidHeaderChecksum, kFork = berInvalidChecksum;

const std::string kAbc = ":!@%!N!i$!*!%C9aKBQ1GeJ!!:\r\n";
const std::string kAbcText = kIdentification + "\r\n" + kAbc;

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    const size_t at = text.find(from);
    return at == std::string::npos ? "?" : text.replace(at, from.size(), to);
}

TEST(BinHexDecode, WhereTheDataStarts) {
    const std::string& id = kIdentification;
    const struct {
        const char* name;
        std::string before;
        bool found;
    } kRows[] = {
        {"at once", id + "\r\n", true},
        {"empty lines between", id + "\r\n\r\n\n\r", true},
        {"after other lines", "Subject: x\n\n:not yet\n" + id + "\n", true},
        {"after a line of 3000", std::string(3000, '(') + "\n" + id + "\n", true},
        {"after a false start", id + "\nx\n" + id + "\n", true},
        {"a longer line", id + std::string(2000, ' ') + "\n", true},
        {"the shortest line", id.substr(0, 41) + "\n", true},
        {"too short a line", id.substr(0, 40) + "\n", false},
        {"no line break", id, false},
        {"not at the start of its line", " " + id + "\n", false},
        {"a line between", id + "\nx\n", false},
        {"other words", "(This file must be converted; you knew that already.)\n\n", false},
    };
    for (const auto& row : kRows) {
        CheckDefect(kBinHex, {row.name, row.before + kAbc, row.found ? S_OK : kEnd, row.found ? "abc" : ""});
    }
}

TEST(BinHexDecode, Characters) {
    const DefectRow kRows[] = {
        {"whole group", "B@*M", S_OK, "abc"},
        {"bits beyond the last byte", "B@*MC1", S_OK, "abcd"},
        {"white space anywhere", " B\t@\r\n*\fM \n", S_OK, "abc"},
        {"rest is ignored", "B@*M:\r\nXYZ~:", S_OK, "abc"},
        {"a group ended by the delimiter", "B@*MC!:\n", S_OK, "abcd"},
        {"one character and a line break", "B@*MC\r\n", kEnd, "abc"},
        {"delimiter in the data", "B@*M:C'9Q", kEnd, "abcdef"},
        {"delimiter parts a group", "B@*MC!:C!", kEnd, "abcdd"},
        {"a delimiter behind the one that ended nothing", "B@*M:C'9Q\nC'9Q:\nXYZ", kEnd, "abcdefdef"},
        {"a lone character, and a delimiter that ends nothing", "C:\nB@*M:\nXYZ", kEnd, "abc"},
        {"two delimiters", "B@*M::\nXYZ", kEnd, "abc"},
        {"outside the alphabet", "B@~*M", kCharacter, "abc"},
        {"high and zero bytes", "B@\xFF\0*M"s, kCharacter, "abc"},
    };
    for (const DefectRow& row : kRows) CheckDefect(kBinHex, row, false);
}

TEST(BinHexDecode, Runs) {
    const DefectRow kRows[] = {
        {"a run of 144", "x\x90\x90\x90\0\x90\x90"s, S_OK, std::string(144, 'x') + std::string(144, '\x90')},
        {"a run of one and of two", "A\x90\1x\x90\2", S_OK, "Axx"},
        {"a run of zeros after a marker", "\x90\0\0\x90\3"s, S_OK, "\x90\0\0\0"s},
        {"a marker at the end is dropped", "A\x90", S_OK, "A"},
        {"count first", "\x90\5x", kCharacter, "\5x"},
        {"count of 144 without a byte", "\x90\x90\x90\2", kCharacter, "\x90\x90"},
    };
    for (DefectRow row : kRows) {
        row.text = Sextets(kBinHex, row.text);
        CheckDefect(kBinHex, row, false);
    }
}

// The other packer writes no run across a border.
TEST(BinHexDecode, HeaderAndForks) {
    const BinHexFile file{"name", "data fork", "resource"};
    const std::string both = file.Data + file.Resource;
    const std::string& binary = file.Binary();
    const size_t forkCrc = file.Header().size() + file.Data.size();
    const auto text = [](const std::string& bytes) { return BinHexFile::Framed(NaiveRuns(bytes)); };
    const auto flipped = [&](size_t at) {
        std::string bytes = binary;
        bytes[at] = static_cast<char>(bytes[at] ^ 1);
        return text(bytes);
    };
    const DefectRow kRows[] = {
        {"other packer", kIdentification + "\n\n:!h4hE`\"\"8&\"-3d&56b%!!!!!\"!!!!!Dd5Q4KG''(BR*PFj!!N!#3!-k9:\n", S_OK,
         "datares\x90\x90\x90"},
        {"good", text(binary), S_OK, both},
        {"more after the last CRC", text(binary + std::string(600, '\0') + "more"), S_OK, both},
        {"name", flipped(2), kHeader, both},
        {"version is read over, not beyond the CRC", flipped(5), kHeader, both},
        {"header CRC", flipped(file.Header().size() - 1), kHeader, both},
        {"data fork", flipped(file.Header().size()), kFork, "e" + both.substr(1)},
        {"data CRC, high", flipped(forkCrc), kFork, both},
        {"resource CRC", flipped(binary.size() - 1), kFork, both},
        {"ends in the header block", text(binary.substr(0, 20)), kEnd, ""},
        {"ends in front of a CRC", text(binary.substr(0, forkCrc)), kEnd, file.Data},
        {"ends in the last CRC", text(binary.substr(0, binary.size() - 1)), kEnd, both},
    };
    for (const DefectRow& row : kRows) CheckDefect(kBinHex, row);
}

// Each layer takes the whole call before the next one does: of several defects in one call an outer layer's counts.
TEST(BinHexDecode, DefectsOfSeveralLayers) {
    const std::string badCrc = Replaced(kAbcText, "1GeJ", "1GdJ");
    const std::string badBoth = Replaced(badCrc, ":!@%", ":!A%");
    const struct {
        const char* name;
        std::string text;
        HRESULT code;
    } kRows[] = {
        {"header CRC, then fork CRC", badBoth, kHeader},
        {"header CRC, then invalid character", Replaced(badBoth, "C9a", "C~9a"), kCharacter},
        {"header CRC, then delimiter", Replaced(badBoth, "!!:", "!!: "), kEnd},
        {"fork CRC and no end", Replaced(badCrc, "!!:\r\n", ""), kFork},
    };
    for (const auto& row : kRows) {
        for (const bool tolerant : {false, true}) {
            EncodingSession session;
            Decoder(kBinHex, tolerant)(session);
            EXPECT_EQ(CodeName(Feed(session, Direction::Decode, row.text, true).Code),
                      CodeName(tolerant ? Warning(row.code) : row.code))
                << row.name;
        }
    }
}

TEST(BinHexDecode, HeaderValues) {
    const struct {
        const char* name;
        std::string written;
        std::u16string read;
    } kRows[] = {
        {"plain", "name", u"name"},
        {"windows-1252", "r\xE9sum\xE9 \x80", u"r\u00E9sum\u00E9 \u20AC"},
        {"longest", std::string(255, 'x'), std::u16string(255, 'x')},
        {"up to a zero byte", "ab\0cd"s, u"ab"},
    };
    for (const auto& row : kRows) {
        const BinHexFile file{row.written, std::string(300, 'd'), "res"};
        const std::string text = file.Text();
        EncodingSession session;
        Decoder(kBinHex, false)(session);
        EXPECT_EQ(Feed(session, Direction::Decode, text.substr(0, 50), false).Code, S_OK);
        EXPECT_FALSE(session.BinHexHeaderFilename) << "not before the header block is complete";
        EXPECT_EQ(Feed(session, Direction::Decode, text.substr(50), true), (Fed{S_OK, file.Data + file.Resource}));
        EXPECT_EQ(TextOf(session.BinHexHeaderFilename), row.read) << row.name;
        EXPECT_TRUE(std::memcmp(session.HeaderType, "TEXT", 4) == 0 &&
                    std::memcmp(session.HeaderCreator, "ttxt", 4) == 0);
        EXPECT_TRUE(session.HeaderFlags == 0x1234 && session.HeaderDataForkLength == 300 &&
                    session.HeaderResourceForkLength == 3);
    }
}

// Announced lengths up to the largest, with the counter near it.
TEST(BinHexDecode, LongestForks) {
    const std::string header =
        WithCrc("\1nxTEXTttxt\1\2"s + BigEndianText(0xFFFFFFFF, 4) + BigEndianText(0xFFFFFFFF, 4));
    for (const bool resource : {false, true}) {
        EncodingSession session;
        Decoder(kBinHex, false)(session);
        // A line break behind, so that the header block is not held back.
        ASSERT_EQ(
            Feed(session, Direction::Decode, kIdentification + "\n:" + Sextets(kBinHex, header + "abab"), false).Bytes,
            "aba");
        session.Now.BinHex.ForkCount = 0xFFFFFFFF - 3;
        session.Now.BinHex.ForkCrc = 0;
        session.Now.BinHex.DataForkDone = resource;
        const std::string rest = Sextets(kBinHex, "cd" + WithCrc("bcd").substr(3) + (resource ? "" : "efgh"));
        EXPECT_EQ(Feed(session, Direction::Decode, rest + ":\n", false), (Fed{S_OK, resource ? "bcd" : "bcdefg"}));
        EXPECT_EQ(Feed(session, Direction::Decode, {}, true).Code, resource ? S_OK : kEnd);
    }
}

// 64 MiB of text that unfold to more than a call can return: what the forks do not take is not stored.
TEST(BinHexDecode, Bombs) {
    const std::string bomb = Sextets(kBinHex, "A\x90\xFF");
    std::string text = BinHexFile{"nmo", "data", "res"}.Text(64, "\n");
    const size_t start = text.rfind(':');
    ASSERT_EQ((start - text.find(':') - 1) % 4, 0u) << "whole groups";
    text.resize(start + bomb.size() * 16'900'000);
    for (size_t i = start; i < text.size(); ++i) text[i] = bomb[(i - start) % bomb.size()];
    for (const bool header : {true, false}) {
        EncodingSession session;
        Decoder(kBinHex, false, header)(session);
        BYTE* out = nullptr;
        DWORD size = 0;
        const size_t from = header ? 0 : start;
        const HRESULT hr = session.DecodeChunk(reinterpret_cast<const BYTE*>(text.data()) + from,
                                               static_cast<uint32_t>(text.size() - from), true, &out, &size);
        const com::UniqueTaskBytes owner(out);
        EXPECT_EQ(CodeName(hr), header ? "S_OK" : "E_OUTOFMEMORY");
        EXPECT_EQ(size, header ? 7u : 0u);
    }
}

}  // namespace
}  // namespace talvo::test
