// Every allocation of a conversion made to fail in turn: the call says so, nothing leaks, the session is closed and
// works again.
#include <string>

#include <gtest/gtest.h>

#include "tests/engine/oracles.h"
#include "tests/support/allocation_faults.h"

namespace talvo::test {
namespace {

// One conversion in four calls; the first code that is no success ends it.
Fed Convert(EncodingSession& session, Direction direction, std::string_view input) {
    Fed all{Feed(session, direction, {}, false)};
    const size_t third = input.size() / 3;
    for (size_t call = 0; call < 4 && SUCCEEDED(all.Code); ++call) {
        const Fed fed =
            Feed(session, direction,
                 input.substr(std::min(call * third, input.size()), call < 3 ? third : std::string::npos), call == 3);
        all.Bytes += fed.Bytes;
        if (fed.Code != S_OK) all.Code = fed.Code;
    }
    return all;
}

TEST(Failures, OfAConversion) {
    const std::string bytes = "any bytes will do, as long as they take more than one line of Base64 text";
    const std::string text = NaiveText(kBase64, bytes, 76, "\r\n");
    const std::string lines = "begin 0444 a.txt\r\n" + NaiveText(kUU, bytes, 61, "\r\n") + "\r\n`\r\nend";
    // The lines that announce much and carry nothing come when the first block is full.
    const std::string shortLines = lines.substr(0, lines.size() - 3) + "_\r\n_\r\n`\r\nend";
    const std::string blanks(4000, ' ');
    const BinHexFile file{"name", bytes, blanks};
    constexpr auto kEncode = Direction::Encode, kDecode = Direction::Decode;
    const struct {
        const char* name;
        FormatKind kind;
        Direction direction;
        bool tolerant;
        std::string input;
        Fed result;
        size_t failures;  // runs that must fail: one an output block, and what else the format takes
    } kRows[] = {
        {"encode", kBase64, kEncode, false, bytes, {S_OK, text}, 4},
        {"decode", kBase64, kDecode, false, text, {S_OK, bytes}, 3},
        {"decode with repairs", kBase64, kDecode, true, text + "*", {berWarningInvalidCharacterInData, bytes}, 4},
        {"hexadecimal", kHexa, kEncode, false, "Hello", {S_OK, "48656C6C6F"}, 3},
        {"from hexadecimal", kHexa, kDecode, true, "4865x6C\n6C6F", {berWarningInvalidCharacterInData, "Hello"}, 3},
        {"quoted-printable", kQP, kEncode, false, "caf\xE9\r\n", {S_OK, "caf=E9\r\n"}, 4},
        {"from quoted-printable", kQP, kDecode, false, "caf=E9", {S_OK, "caf\xE9"}, 4},
        {"from BinHex", kBinHex, kDecode, false, file.Text(), {S_OK, bytes + blanks}, 7},
        {"blanks held back", kQP, kDecode, false, blanks + "=\n" + blanks, {S_OK, blanks}, 7},
        {"UU", kUU, kEncode, false, bytes, {S_OK, lines}, 4},
        {"from UU", kUU, kDecode, false, lines, {S_OK, bytes}, 3},
        {"from UU, growing", kUU, kDecode, false, shortLines, {S_OK, bytes + std::string(126, '\0')}, 4},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        size_t failures = 0;
        ForEachFailingAllocation([&](AllocationFaults& faults) {
            EncodingSession session;
            ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
            session.ContinueOnInvalidData = row.tolerant;
            {
                const FaultPause pause;
                session.HeaderFilename = WideName(u"a.txt");
            }
            const Fed first = Convert(session, row.direction, row.input);
            EXPECT_EQ(session.State, SessionState::Idle);
            // A block that cannot shrink is handed out as it is.
            if (first.Code == E_OUTOFMEMORY) {
                EXPECT_NE(faults.Struck(), 0u);
                EXPECT_TRUE(row.result.Bytes.starts_with(first.Bytes));
                ++failures;
            } else {
                EXPECT_EQ(first, row.result);
            }
            faults.Disarm();
            EXPECT_EQ(Convert(session, row.direction, row.input), row.result) << "the next conversion";
        });
        EXPECT_GE(failures, 2 * row.failures);
    }
}

// Work buffers have their whole size from the start, and go when the conversion ends, however it ends.
TEST(Failures, OfOpening) {
    const struct {
        FormatKind kind;
        Direction direction;
        uint32_t work, headerBlock;
    } kRows[] = {{kUU, Direction::Encode, 60, 0},    {kXX, Direction::Encode, 76, 0},
                 {kBase64, Direction::Encode, 0, 0}, {kQP, Direction::Encode, 0, 0},
                 {kUU, Direction::Decode, 1024, 0},  {kXX, Direction::Decode, 1024, 0},
                 {kBase64, Direction::Decode, 0, 0}, {kHexa, Direction::Decode, 0, 0},
                 {kQP, Direction::Decode, 1024, 0},  {kBinHex, Direction::Decode, 1024, 277}};
    for (const auto& row : kRows) {
        const size_t blocks = (row.work ? 1u : 0u) + (row.headerBlock ? 1u : 0u);
        for (const char* const end : {"reset", "end of data", "destruction"}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(row.kind) << ", " << end);
            size_t failures = 0;
            ForEachFailingAllocation([&](AllocationFaults& faults) {
                {
                    EncodingSession session;
                    ASSERT_EQ(session.SelectFormat(row.kind), S_OK);
                    session.IncludeHeaderFooter = false;
                    const HRESULT hr = Feed(session, row.direction, {}, false).Code;
                    EXPECT_EQ(CodeName(hr), faults.Struck() ? "E_OUTOFMEMORY" : "S_OK");
                    failures += FAILED(hr) ? 1 : 0;
                    EXPECT_EQ(faults.Live(), FAILED(hr) ? 0 : blocks) << "released at once, not with the session";
                    if (row.work && SUCCEEDED(hr)) std::memset(session.WorkBuffer.Get(), 0xEE, row.work);
                    if (row.headerBlock && SUCCEEDED(hr)) std::memset(session.HeaderBlock.Get(), 0xEE, row.headerBlock);
                    if (*end == 'r') session.ResetSession();
                    if (*end == 'e' && SUCCEEDED(hr)) static_cast<void>(Feed(session, row.direction, {}, true));
                    EXPECT_TRUE(*end == 'd' || (session.State == SessionState::Idle && faults.Live() == 0));
                }
                EXPECT_EQ(faults.Live(), 0u);
            });
            EXPECT_EQ(failures, 2 * blocks);
        }
    }
}

}  // namespace
}  // namespace talvo::test
