// Sessions whatever their format: states, options, how a conversion opens and what it leaves behind.
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/engine/sessions.h"
#include "tests/support/allocation_faults.h"

namespace talvo::test {
namespace {

// Opens without input.
HRESULT Open(EncodingSession& session, Direction direction) { return Feed(session, direction, {}, false).Code; }

TEST(Session, WrongPointersChangeNothing) {
    const BYTE source[] = {'A', 'B', 'C'};
    for (const char* const opened : {"", "xyzAB"}) {
        EncodingSession session;
        Encoder(kBase64)(session);
        if (*opened) static_cast<void>(Feed(session, Direction::Encode, opened, false));
        const SessionState before = session.State;
        BYTE* out = nullptr;
        DWORD size = 7;
        for (const auto method : {&EncodingSession::EncodeChunk, &EncodingSession::DecodeChunk}) {
            EXPECT_EQ((session.*method)(source, 3, true, nullptr, &size), berInternalError);
            EXPECT_EQ((session.*method)(source, 3, true, &out, nullptr), berInternalError);
        }
        EXPECT_TRUE(!out && size == 7 && session.State == before);
        EXPECT_EQ(session.EncodeChunk(nullptr, 1, true, &out, &size), E_POINTER);
        EXPECT_TRUE(!out && size == 0 && session.State == before);
        EXPECT_EQ(Feed(session, Direction::Encode, "C", true).Bytes, *opened ? "QUJD" : "Qw==");
    }
}

// What a decoder takes when it opens goes when the conversion ends, not with the session. Options stay.
TEST(Session, EndOfAConversion) {
    const struct {
        FormatKind kind;
        bool header;
        size_t blocks;
    } kRows[] = {{kUU, true, 1}, {kXX, false, 0}, {kBase64, true, 0}, {kQP, true, 1}, {kBinHex, true, 1}};
    for (const auto& row : kRows) {
        for (const bool reset : {false, true}) {
            AllocationFaults faults;
            EncodingSession session;
            Decoder(row.kind, false, row.header)(session);
            ASSERT_EQ(session.SetMaxLineLength(8), S_OK);
            faults.FailNth(1);
            EXPECT_EQ(Open(session, Direction::Decode), row.blocks ? E_OUTOFMEMORY : S_OK);
            faults.Disarm();
            EXPECT_TRUE(session.State == (row.blocks ? SessionState::Idle : SessionState::Decoding));
            EXPECT_EQ(Open(session, Direction::Decode), S_OK);
            EXPECT_EQ(faults.Live(), row.blocks) << static_cast<int>(row.kind);
            if (reset)
                session.ResetSession();
            else
                static_cast<void>(Feed(session, Direction::Decode, {}, true));
            EXPECT_TRUE(session.State == SessionState::Idle && faults.Live() == 0 && session.MaxLineLength == 8);
        }
    }
}

// The stored length, and the line that a conversion opened with it has.
TEST(Session, LineLengths) {
    constexpr int32_t kNo = kNoBreak;
    const struct {
        FormatKind kind;
        int32_t type;
        uint32_t given, stored, limit;
    } kRows[] = {{kUU, kLf, 0, 0, 61},        {kUU, kLf, 1, 5, 5},         {kUU, kLf, 8, 8, 5},
                 {kUU, kLf, 9, 9, 9},         {kUU, kLf, 62, 62, 61},      {kUU, kLf, 86, 85, 85},
                 {kXX, kLf, 0, 0, 77},        {kXX, kLf, ~0u, 85, 85},     {kBase64, kLf, 0, 0, 76},
                 {kBase64, kLf, 1, 4, 4},     {kBase64, kLf, 75, 75, 72},  {kBase64, kLf, ~0u, ~0u, ~3u},
                 {kHexa, kLf, 0, 0, 78},      {kHexa, kLf, 1, 2, 2},       {kHexa, kLf, 77, 77, 76},
                 {kHexa, kLf, ~0u, ~0u, ~1u}, {kQP, kLf, 0, 0, 76},        {kQP, kLf, 1, 4, 4},
                 {kQP, kLf, 5, 5, 5},         {kQP, kLf, ~0u, ~0u, ~0u},   {kBinHex, kLf, 0, 0, 64},
                 {kBinHex, kLf, 4, 5, 5},     {kBinHex, kLf, 65, 65, 65},  {kBinHex, kLf, ~0u, ~0u, ~0u},
                 {kQP, kNo, 20, 20, 20},      {kBase64, kNo, 20, 20, ~0u}, {kHexa, kNo, 20, 20, ~0u},
                 {kBinHex, kNo, 20, 20, ~0u}};
    for (const auto& row : kRows) {
        EncodingSession session;
        Encoder(row.kind, row.given, row.type)(session);
        EXPECT_EQ(Open(session, Direction::Encode), S_OK);
        EXPECT_TRUE(session.MaxLineLength == row.stored && session.Now.Lines.Limit == row.limit)
            << "row " << &row - kRows << ": stored " << session.MaxLineLength << ", limit " << session.Now.Lines.Limit;
    }
}

// A format is selected with CR LF; a type that it does not take leaves the one it has. No format takes any.
TEST(Session, LineBreakTypes) {
    for (int kind = -1; kind <= 6; ++kind) {
        const bool known = kind >= 0 && kind < 6;
        EncodingSession session;
        session.EndOfLineType = kCr;
        ASSERT_EQ(session.SelectFormat(static_cast<FormatKind>(kind)), S_OK);
        int32_t kept = kCrLf;
        for (const int32_t type : {3, 0, 4, -1, 2, 0, 1, 0x7FFFFFFF}) {
            const bool allowed = type >= (kind == 0 || kind == 1 ? 1 : 0) && type <= 3;
            if (allowed && known) kept = type;
            const HRESULT taken = known || type < 0 || type > 3 ? S_OK : berInternalError;
            EXPECT_EQ(CodeName(session.SetEndOfLineType(type)), CodeName(taken != S_OK ? taken
                                                                         : allowed     ? S_OK
                                                                                       : berInvalidEndOfLineType))
                << kind << ", " << type;
            EXPECT_EQ(session.EndOfLineType, kept);
        }
        if (known) continue;
        EXPECT_EQ(CodeName(session.SetMaxLineLength(10)), "berInternalError");
        EXPECT_EQ(CodeName(Open(session, Direction::Encode)), "berInternalError");
        EXPECT_EQ(CodeName(Open(session, Direction::Decode)), "berInternalError");
        EXPECT_EQ(session.State, SessionState::Idle);
    }
}

// A name that there is no memory for leaves none.
TEST(Session, Names) {
    AllocationFaults faults;
    EncodingSession session;
    const com::UniqueBstr given(SysAllocString(OLESTR("name")));
    EXPECT_EQ(session.SetHeaderFilename(given.Get()), S_OK);
    EXPECT_EQ(session.SetBinHexHeaderFilename(given.Get()), S_OK);
    faults.FailNth(1, true);
    EXPECT_EQ(session.SetHeaderFilename(given.Get()), E_OUTOFMEMORY);
    EXPECT_EQ(session.SetBinHexHeaderFilename(given.Get()), E_OUTOFMEMORY);
    EXPECT_TRUE(!session.HeaderFilename && !session.BinHexHeaderFilename);
}

// What BeginEncoding refuses leaves the session Idle, and it opens once the option is right.
TEST(Session, OptionsRefusedAtTheStart) {
    constexpr HRESULT kNoName = berEmptyFileNameInHeader, kNoBreaks = berInvalidEndOfLineType;
    const struct {
        FormatKind kind;
        int32_t type;
        const OLECHAR *uuName, *binHexName;
        HRESULT code;
    } kRows[] = {
        {kUU, kCrLf, nullptr, OLESTR("b"), kNoName},      {kUU, kCrLf, OLESTR(""), OLESTR("b"), kNoName},
        {kUU, kCrLf, OLESTR("u"), nullptr, S_OK},         {kXX, kLf, nullptr, nullptr, kNoName},
        {kXX, kLf, OLESTR("x"), nullptr, S_OK},           {kBase64, kNoBreak, nullptr, nullptr, S_OK},
        {kHexa, kNoBreak, nullptr, nullptr, S_OK},        {kQP, kNoBreak, nullptr, nullptr, S_OK},
        {kBinHex, kCr, OLESTR("u"), nullptr, kNoName},    {kBinHex, kCr, OLESTR("u"), OLESTR(""), kNoName},
        {kBinHex, kCr, nullptr, OLESTR("b"), S_OK},       {kBinHex, kNoBreak, nullptr, OLESTR("b"), kNoBreaks},
        {kBinHex, kNoBreak, nullptr, nullptr, kNoBreaks},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - kRows);
        EncodingSession session;
        ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
        session.EndOfLineType = row.type;
        session.HeaderFilename.Reset(SysAllocString(row.uuName));
        session.BinHexHeaderFilename.Reset(SysAllocString(row.binHexName));
        EXPECT_EQ(CodeName(Open(session, Direction::Encode)), CodeName(row.code));
        EXPECT_EQ(session.State, SUCCEEDED(row.code) ? SessionState::Encoding : SessionState::Idle);
        if (SUCCEEDED(row.code)) continue;
        EXPECT_EQ(CodeName(Feed(session, Direction::Encode, "data", true).Code), CodeName(row.code));
        session.IncludeHeaderFooter = false;
        EXPECT_EQ(Open(session, Direction::Encode), S_OK) << "nothing is wrong without a header";
    }
}

}  // namespace
}  // namespace talvo::test
