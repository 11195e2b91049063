// Sessions whatever their format: states, options, how a conversion opens and what it leaves behind.
#include <cstring>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"
#include "tests/support/splits.h"

namespace talvo::test {
namespace {

constexpr FormatKind kKinds[] = {
    FormatKind::UU,    FormatKind::XX, FormatKind::Base64, FormatKind::Hexa, FormatKind::QuotedPrintable,
    FormatKind::BinHex};
constexpr auto kUU = FormatKind::UU, kXX = FormatKind::XX, kBase64 = FormatKind::Base64, kHexa = FormatKind::Hexa,
               kQP = FormatKind::QuotedPrintable, kBinHex = FormatKind::BinHex;

// What is no format: beyond the last, and negative.
constexpr auto kNone = static_cast<FormatKind>(6), kNegative = static_cast<FormatKind>(-1);

// Opens without input.
HRESULT Open(EncodingSession& session, Direction direction) { return Feed(session, direction, {}, false).Code; }

std::u16string TextOf(const com::UniqueBstr& name) {
    const BSTR text = name.Get();
    return text ? std::u16string(text, text + SysStringLen(text)) : u"(null)";
}

TEST(Session, OtherDirectionIsRefusedAndHarmless) {
    const struct {
        const char* name;
        Direction open;
        const char *first, *second, *whole;
    } kRows[] = {{"encoding", Direction::Encode, "AB", "C", "QUJD"},
                 {"decoding", Direction::Decode, "QU", "JD", "ABC"}};
    for (const auto& row : kRows) {
        const auto other = row.open == Direction::Encode ? Direction::Decode : Direction::Encode;
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(kBase64), S_OK);
        EXPECT_EQ(Feed(session, row.open, row.first, false), Fed{}) << row.name;
        for (const bool end : {false, true}) {
            EXPECT_EQ(Feed(session, other, "QUJD", end), (Fed{berSessionOpened, {}})) << row.name;
        }
        EXPECT_EQ(Feed(session, row.open, row.second, true), (Fed{S_OK, row.whole})) << row.name;
        EXPECT_EQ(Feed(session, other, {}, true), Fed{}) << row.name << ": closed, so either may come";
    }
}

TEST(Session, StartOfSessionLastsUntilTheFirstStep) {
    EncodingSession session;
    ASSERT_EQ(session.SelectFormat(kBase64), S_OK);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Open(session, Direction::Encode), S_OK);
        EXPECT_EQ(session.State, SessionState::Encoding);
        EXPECT_TRUE(session.StartOfSession);
    }
    EXPECT_EQ(Feed(session, Direction::Encode, "A", false).Code, S_OK);
    EXPECT_FALSE(session.StartOfSession);
    EXPECT_EQ(Open(session, Direction::Encode), S_OK);
    EXPECT_FALSE(session.StartOfSession);
}

TEST(Session, WrongPointersChangeNothing) {
    const BYTE source[] = {'A', 'B', 'C'};
    for (const bool opened : {false, true}) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(kBase64), S_OK);
        EXPECT_EQ(opened ? Feed(session, Direction::Encode, "xyzAB", false).Bytes : "eHl6", "eHl6");
        const SessionState before = session.State;
        BYTE garbage = 0;
        BYTE* out = &garbage;
        DWORD size = 7;
        for (const auto method : {&EncodingSession::EncodeChunk, &EncodingSession::DecodeChunk}) {
            EXPECT_EQ((session.*method)(source, 3, true, nullptr, &size), berInternalError);
            EXPECT_EQ((session.*method)(source, 3, true, &out, nullptr), berInternalError);
            EXPECT_EQ((session.*method)(source, 3, true, nullptr, nullptr), berInternalError);
            EXPECT_TRUE(out == &garbage && size == 7 && session.State == before);
        }
        EXPECT_EQ(session.EncodeChunk(nullptr, 1, true, &out, &size), E_POINTER);
        EXPECT_TRUE(out == nullptr && size == 0 && session.State == before);
        EXPECT_EQ(Feed(session, Direction::Encode, "C", true).Bytes, opened ? "QUJD" : "Qw==");
    }
}

TEST(Session, ResetForgetsTheConversionAndKeepsOptions) {
    for (const auto direction : {Direction::Encode, Direction::Decode}) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(kBase64), S_OK);
        ASSERT_EQ(session.SetMaxLineLength(8), S_OK);
        EXPECT_EQ(Feed(session, direction, "QQ", false).Code, S_OK);
        session.ResetSession();
        session.ResetSession();
        EXPECT_EQ(session.State, SessionState::Idle);
        EXPECT_EQ(session.MaxLineLength, 8u);
        EXPECT_EQ(Feed(session, Direction::Encode, "ABCABCABC", true).Bytes, "QUJDQUJD\r\nQUJD");
    }
}

// The stored length, and the line that a conversion opened with it has.
TEST(Session, LineLengths) {
    const struct {
        FormatKind kind;
        uint32_t given, stored, limit;
    } kRows[] = {
        {kUU, 0, 0, 61},          {kUU, 1, 5, 5},           {kUU, 4, 5, 5},      {kUU, 5, 5, 5},
        {kUU, 8, 8, 5},           {kUU, 9, 9, 9},           {kUU, 62, 62, 61},   {kUU, 84, 84, 81},
        {kUU, 85, 85, 85},        {kUU, 86, 85, 85},        {kUU, ~0u, 85, 85},  {kXX, 0, 0, 77},
        {kXX, 2, 5, 5},           {kXX, 78, 78, 77},        {kXX, 100, 85, 85},  {kBase64, 0, 0, 76},
        {kBase64, 1, 4, 4},       {kBase64, 3, 4, 4},       {kBase64, 7, 7, 4},  {kBase64, 75, 75, 72},
        {kBase64, ~0u, ~0u, ~3u}, {kHexa, 0, 0, 78},        {kHexa, 1, 2, 2},    {kHexa, 3, 3, 2},
        {kHexa, 77, 77, 76},      {kHexa, ~0u, ~0u, ~1u},   {kQP, 0, 0, 76},     {kQP, 1, 4, 4},
        {kQP, 5, 5, 5},           {kQP, ~0u, ~0u, ~0u},     {kBinHex, 0, 0, 64}, {kBinHex, 4, 5, 5},
        {kBinHex, 65, 65, 65},    {kBinHex, ~0u, ~0u, ~0u},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
        session.IncludeHeaderFooter = false;
        EXPECT_EQ(session.SetMaxLineLength(row.given), S_OK);
        EXPECT_EQ(Open(session, Direction::Encode), S_OK);
        EXPECT_TRUE(session.MaxLineLength == row.stored && session.LineLimit == row.limit)
            << "kind " << static_cast<int>(row.kind) << ", given " << row.given << ": stored " << session.MaxLineLength
            << ", limit " << session.LineLimit;
    }
    const struct {
        FormatKind kind;
        uint32_t limit;
    } kWithoutBreaks[] = {{kBase64, kEndlessLine}, {kHexa, kEndlessLine}, {kQP, 20}, {kBinHex, kEndlessLine}};
    for (const auto& row : kWithoutBreaks) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
        session.IncludeHeaderFooter = false;
        EXPECT_EQ(session.SetMaxLineLength(20), S_OK);
        EXPECT_EQ(session.SetEndOfLineType(kNoBreak), S_OK);
        EXPECT_EQ(Open(session, Direction::Encode), S_OK);
        EXPECT_EQ(session.LineLimit, row.limit) << static_cast<int>(row.kind);
    }
}

TEST(Session, LineBreakTypes) {
    for (const FormatKind kind : kKinds) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(kind), S_OK);
        EXPECT_EQ(session.EndOfLineType, kCrLf);
        int32_t kept = kCrLf;
        for (const int32_t type : {3, 0, 4, -1, 2, 0, 1, 0x7FFFFFFF}) {
            const bool allowed = type >= (kind == kUU || kind == kXX ? 1 : 0) && type <= 3;
            if (allowed) kept = type;
            EXPECT_EQ(CodeName(session.SetEndOfLineType(type)), CodeName(allowed ? S_OK : berInvalidEndOfLineType))
                << static_cast<int>(kind) << ", " << type;
            EXPECT_EQ(session.EndOfLineType, kept);
        }
    }
}

TEST(Session, NoFormat) {
    for (const FormatKind kind : {kNone, kNegative}) {
        EncodingSession session;
        EXPECT_EQ(session.SelectFormat(kind), S_OK);
        EXPECT_EQ(CodeName(session.SetMaxLineLength(10)), "berInternalError");
        EXPECT_EQ(CodeName(session.SetEndOfLineType(kLf)), "berInternalError");
        EXPECT_EQ(CodeName(session.SetEndOfLineType(9)), "berInvalidEndOfLineType");
        for (const auto direction : {Direction::Encode, Direction::Decode}) {
            EXPECT_EQ(CodeName(Open(session, direction)), "berInternalError");
            EXPECT_EQ(session.State, SessionState::Idle);
        }
    }
}

TEST(Session, SettersAreRefusedWhileOpen) {
    for (const auto direction : {Direction::Encode, Direction::Decode}) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(kBase64), S_OK);
        ASSERT_EQ(Open(session, direction), S_OK);
        const com::UniqueBstr name(SysAllocString(OLESTR("name")));
        for (const HRESULT hr : {session.SelectFormat(kUU), session.SetMaxLineLength(8), session.SetEndOfLineType(kLf),
                                 session.SetEndOfLineType(99), session.SetHeaderFilename(name.Get()),
                                 session.SetBinHexHeaderFilename(name.Get())}) {
            EXPECT_EQ(CodeName(hr), "berSessionOpened");
        }
        EXPECT_TRUE(session.Kind == kBase64 && session.MaxLineLength == 0 && session.EndOfLineType == kCrLf &&
                    !session.HeaderFilename && !session.BinHexHeaderFilename);
    }
}

TEST(Session, Names) {
    const struct {
        const char* name;
        HRESULT (EncodingSession::*set)(BSTR);
        com::UniqueBstr EncodingSession::*field;
    } kRows[] = {{"header", &EncodingSession::SetHeaderFilename, &EncodingSession::HeaderFilename},
                 {"BinHex header", &EncodingSession::SetBinHexHeaderFilename, &EncodingSession::BinHexHeaderFilename}};
    for (const auto& row : kRows) {
        AllocationFaults faults;
        EncodingSession session;
        const com::UniqueBstr given(SysAllocStringLen(OLESTR("a\0b\0"), 4));
        EXPECT_EQ((session.*row.set)(given.Get()), S_OK);
        EXPECT_EQ(TextOf(session.*row.field), std::u16string(u"a\0b\0", 4)) << row.name;
        EXPECT_NE((session.*row.field).Get(), given.Get()) << row.name << ": a copy";
        EXPECT_EQ((session.*row.set)(nullptr), S_OK);
        EXPECT_EQ(TextOf(session.*row.field), u"") << row.name << ": null counts as empty";
        EXPECT_EQ(faults.Live(), 2u) << row.name << ": the old name is gone";
        faults.FailNth(1);
        EXPECT_EQ((session.*row.set)(given.Get()), E_OUTOFMEMORY);
        EXPECT_EQ(TextOf(session.*row.field), u"(null)") << row.name;
        EXPECT_EQ(session.State, SessionState::Idle);
    }
}

// What BeginEncoding refuses leaves the session Idle, and it opens once the option is right.
TEST(Session, OptionsRefusedAtTheStart) {
    const struct {
        const char* name;
        FormatKind kind;
        bool header;
        int32_t type;
        const OLECHAR *uuName, *binHexName;
        HRESULT code;
    } kRows[] = {
        {"UU without name", kUU, true, kCrLf, nullptr, OLESTR("b"), berEmptyFileNameInHeader},
        {"UU, empty name", kUU, true, kCrLf, OLESTR(""), OLESTR("b"), berEmptyFileNameInHeader},
        {"UU with name", kUU, true, kCrLf, OLESTR("u"), nullptr, S_OK},
        {"UU without header", kUU, false, kCrLf, nullptr, nullptr, S_OK},
        {"XX without name", kXX, true, kLf, nullptr, nullptr, berEmptyFileNameInHeader},
        {"XX with name", kXX, true, kLf, OLESTR("x"), nullptr, S_OK},
        {"Base64", kBase64, true, kNoBreak, nullptr, nullptr, S_OK},
        {"hexadecimal", kHexa, true, kNoBreak, nullptr, nullptr, S_OK},
        {"quoted-printable", kQP, true, kNoBreak, nullptr, nullptr, S_OK},
        {"BinHex without name", kBinHex, true, kCr, OLESTR("u"), nullptr, berEmptyFileNameInHeader},
        {"BinHex, empty name", kBinHex, true, kCr, OLESTR("u"), OLESTR(""), berEmptyFileNameInHeader},
        {"BinHex with name", kBinHex, true, kCr, nullptr, OLESTR("b"), S_OK},
        {"BinHex, no breaks", kBinHex, true, kNoBreak, nullptr, OLESTR("b"), berInvalidEndOfLineType},
        {"BinHex, nothing right", kBinHex, true, kNoBreak, nullptr, nullptr, berInvalidEndOfLineType},
        {"BinHex, no breaks, no header", kBinHex, false, kNoBreak, nullptr, nullptr, S_OK},
    };
    for (const auto& row : kRows) {
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
        session.IncludeHeaderFooter = row.header;
        session.EndOfLineType = row.type;
        session.HeaderFilename.Reset(SysAllocString(row.uuName));
        session.BinHexHeaderFilename.Reset(SysAllocString(row.binHexName));
        for (const char* chunk : {"", "data"}) {
            if (SUCCEEDED(row.code) && *chunk) continue;
            EXPECT_EQ(CodeName(Feed(session, Direction::Encode, chunk, *chunk != 0).Code), CodeName(row.code))
                << row.name;
            EXPECT_EQ(session.State, SUCCEEDED(row.code) ? SessionState::Encoding : SessionState::Idle) << row.name;
        }
        EXPECT_EQ(static_cast<bool>(session.WorkBuffer), SUCCEEDED(row.code) && (row.kind == kUU || row.kind == kXX));
        if (FAILED(row.code)) {
            session.IncludeHeaderFooter = false;
            EXPECT_EQ(Open(session, Direction::Encode), S_OK) << row.name;
        }
    }
}

// A decoding session clears what its header will supply, before any input; nothing else touches these values.
TEST(Session, HeaderValuesAtTheStartOfDecoding) {
    for (const FormatKind kind : kKinds) {
        for (const bool header : {false, true}) {
            for (const auto direction : {Direction::Encode, Direction::Decode}) {
                EncodingSession session;
                ASSERT_EQ(session.SelectFormat(kind), S_OK);
                session.IncludeHeaderFooter = header;
                const com::UniqueBstr name(SysAllocString(OLESTR("name")));
                ASSERT_EQ(session.SetHeaderFilename(name.Get()), S_OK);
                ASSERT_EQ(session.SetBinHexHeaderFilename(name.Get()), S_OK);
                session.HeaderPermissions = 0x1A4;
                session.HeaderFlags = 7;
                session.HeaderDataForkLength = session.HeaderResourceForkLength = 9;
                session.HeaderType[3] = session.HeaderCreator[0] = 'T';
                ASSERT_EQ(Open(session, direction), S_OK);

                const bool decoding = direction == Direction::Decode;
                const bool unix = decoding && header && (kind == kUU || kind == kXX);
                const bool binHex = decoding && kind == kBinHex;
                SCOPED_TRACE(testing::Message() << static_cast<int>(kind) << ", header " << header);
                EXPECT_EQ(TextOf(session.HeaderFilename), unix ? u"(null)" : u"name");
                EXPECT_EQ(session.HeaderPermissions, unix ? 0 : 0x1A4);
                EXPECT_EQ(TextOf(session.BinHexHeaderFilename), binHex ? u"(null)" : u"name");
                EXPECT_EQ(session.HeaderFlags, binHex ? 0 : 7);
                EXPECT_EQ(session.HeaderDataForkLength, binHex ? 0u : 9u);
                EXPECT_EQ(session.HeaderResourceForkLength, binHex ? 0u : 9u);
                EXPECT_EQ(session.HeaderType[3] + session.HeaderCreator[0], binHex ? 0 : 2 * 'T');
            }
        }
    }
}

// Work buffers have their whole size from the start, and go when the conversion ends, however it ends.
TEST(Session, WorkBuffers) {
    const struct {
        FormatKind kind;
        Direction direction;
        uint32_t work, headerBlock;
    } kRows[] = {
        {kUU, Direction::Encode, 60, 0},   {kXX, Direction::Encode, 76, 0},         {kBase64, Direction::Encode, 0, 0},
        {kHexa, Direction::Encode, 0, 0},  {kQP, Direction::Encode, 0, 0},          {kUU, Direction::Decode, 1024, 0},
        {kXX, Direction::Decode, 1024, 0}, {kBase64, Direction::Decode, 0, 0},      {kHexa, Direction::Decode, 0, 0},
        {kQP, Direction::Decode, 1024, 0}, {kBinHex, Direction::Decode, 1024, 277},
    };
    for (const auto& row : kRows) {
        AllocationFaults faults;
        const size_t blocks = (row.work ? 1u : 0u) + (row.headerBlock ? 1u : 0u);
        for (const char* end : {"reset", "end of data", "destruction"}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(row.kind) << ", " << end);
            EncodingSession session;
            ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
            session.IncludeHeaderFooter = false;
            ASSERT_EQ(Open(session, row.direction), S_OK);
            EXPECT_EQ(faults.Live(), blocks);
            if (row.work) std::memset(session.WorkBuffer.Get(), 0xEE, row.work);
            if (row.headerBlock) std::memset(session.HeaderBlock.Get(), 0xEE, row.headerBlock);
            if (*end == 'd') continue;
            if (*end == 'r') session.ResetSession();
            if (*end == 'e') static_cast<void>(Feed(session, row.direction, {}, true));
            EXPECT_EQ(session.State, SessionState::Idle);
            EXPECT_EQ(faults.Live(), 0u);
        }
        EXPECT_EQ(faults.Live(), 0u);
    }
}

}  // namespace
}  // namespace talvo::test
