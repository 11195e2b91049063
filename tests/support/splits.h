// Feeds a session the same input cut in many ways. What must not depend on the cuts:
// - Encoding: the joined output. One exception, checked: an empty final call also writes the pending break of data
//   that filled its last line exactly (where a footer follows, that break comes anyway).
// - Decoding: the output and the defects up to each character. So every call, wherever its cuts are, returns what single
//   characters gave between the same places; its warning is the first of theirs, or an invalid character if there is
//   one; an error comes in the call that has the character at fault, and that call returns nothing.
// Nor may a conversion depend on one before it that was abandoned anywhere.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "com/unique.h"
#include "engine/output.h"
#include "engine/session.h"
#include "server/results/result_codes.h"
#include "tests/support/code_name.h"

namespace talvo::test {

enum class Direction { Encode, Decode };

struct Fed {
    HRESULT Code = S_OK;
    std::string Bytes;
    bool operator==(const Fed&) const = default;
};

// One call. The chunk lies in a block of its own size, so that a sanitizer sees a step that reads beyond it.
inline Fed Feed(EncodingSession& session, Direction direction, std::string_view chunk, bool endOfData) {
    const std::unique_ptr<BYTE[]> source(chunk.empty() ? nullptr : new BYTE[chunk.size()]);
    if (source) std::memcpy(source.get(), chunk.data(), chunk.size());
    BYTE garbage = 0;
    BYTE* out = &garbage;
    DWORD size = 0xDEADBEEF;
    const auto method = direction == Direction::Encode ? &EncodingSession::EncodeChunk : &EncodingSession::DecodeChunk;
    const HRESULT hr = (session.*method)(source.get(), static_cast<uint32_t>(chunk.size()), endOfData, &out, &size);
    const com::UniqueTaskBytes owner(out);
    EXPECT_EQ(out == nullptr, size == 0);
    EXPECT_TRUE(SUCCEEDED(hr) || !out) << "output came with an error";
    return {hr, out ? std::string(reinterpret_cast<char*>(out), size) : std::string()};
}

using Setup = std::function<void(EncodingSession&)>;
using Cuts = std::vector<size_t>;  // where a new call begins; ascending, without 0 and the end

class SplitChecker {
public:
    // `code` and `bytes` are what the whole input gives in one final call.
    SplitChecker(const char* name, Setup setup, Direction direction, std::string_view input, HRESULT code,
                 std::string_view bytes)
        : name_(name), setup_(std::move(setup)), direction_(direction), input_(input), bytes_(bytes) {
        EncodingSession session;
        setup_(session);
        whole_ = Feed(session, direction_, input_, true);
        EXPECT_EQ(CodeName(whole_.Code), CodeName(code)) << name_;
        EXPECT_TRUE(whole_.Bytes == bytes_) << name_ << ": " << testing::PrintToString(whole_.Bytes) << " instead of "
                                            << testing::PrintToString(bytes_);
        EXPECT_EQ(session.State, SessionState::Idle) << name_;
        good_ = whole_ == Fed{code, bytes_};
        if (direction_ == Direction::Decode) FeedSingly();
    }

    // What single characters give when decoded, up to the error if there is one.
    std::string EmittedSingly() const { return Expected(0, single_.size() - (Failed() ? 1 : 0)).Bytes; }

    // All pairs of cuts of a short input, random cuts of a long one; of both, single bytes and resets.
    void CheckEvery() {
        constexpr size_t kAllPairs = 60, kRandom = 24;
        const size_t n = input_.size();
        Cuts all;
        for (size_t a = 1; a < n; ++a) {
            all.push_back(a);
            for (size_t b = a; n <= kAllPairs && b < n; ++b) Check(a == b ? Cuts{a} : Cuts{a, b});
        }
        Check(n <= 300 ? all : Cuts{});
        if (n > kAllPairs) CheckRandom(kRandom);
        CheckResets();
    }

    void CheckRandom(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const size_t longest = i % 3 == 0 ? 5 : i % 3 == 1 ? 100 : input_.size();
            std::uniform_int_distribution<size_t> step(1, std::max<size_t>(longest, 1));
            Cuts cuts;
            for (size_t at = step(random_); at < input_.size(); at += step(random_)) cuts.push_back(at);
            Check(cuts);
        }
    }

    // Reset after each number of characters, after some of a long input; the whole input then gives what a new session
    // gives.
    void CheckResets() {
        EncodingSession session;
        setup_(session);
        for (size_t abandoned = 0; abandoned <= input_.size(); abandoned += 1 + input_.size() / 40) {
            static_cast<void>(Feed(session, direction_, input_.substr(0, abandoned), false));
            session.ResetSession();
            Expect(Feed(session, direction_, input_, true) == whole_, "after a reset", {}, abandoned);
        }
    }

    void Check(const Cuts& cuts) {
        Run(cuts, false, false);
        Run(cuts, true, false);
        Run(cuts, true, true);
    }

private:
    // The reference for decoding: every character in a call of its own, the end too.
    void FeedSingly() {
        EncodingSession session;
        setup_(session);
        for (size_t i = 0; i < input_.size() && !Failed(); ++i) {
            single_.push_back(Feed(session, direction_, input_.substr(i, 1), false));
        }
        if (!Failed()) single_.push_back(Feed(session, direction_, {}, true));
    }
    bool Failed() const { return !single_.empty() && FAILED(single_.back().Code); }

    // What a call with the characters [from, to) must return; `to` counts the end as one more.
    Fed Expected(size_t from, size_t to) const {
        Fed sum;
        for (size_t i = from; i < std::min(to, single_.size()); ++i) {
            const Fed& one = single_[i];
            if (FAILED(one.Code)) return {one.Code, {}};
            sum.Bytes += one.Bytes;
            if (sum.Code == S_OK || one.Code == berWarningInvalidCharacterInData) sum.Code = one.Code;
        }
        return sum;
    }

    void Run(const Cuts& cuts, bool emptyFinal, bool emptyBetween) {
        if (!good_) return;
        EncodingSession session;
        setup_(session);
        std::string joined;
        std::string owed;
        const size_t n = input_.size();
        for (size_t call = 0; call <= cuts.size() + (emptyFinal ? 1 : 0); ++call) {
            const size_t from = call == 0 ? 0 : call <= cuts.size() ? cuts[call - 1] : n;
            const size_t to = call < cuts.size() ? cuts[call] : n;
            const bool final = call == cuts.size() + (emptyFinal ? 1 : 0);
            if (emptyBetween) Expect(Feed(session, direction_, {}, false) == Fed{}, "empty call", cuts, from);
            const bool footer = session.Kind <= FormatKind::XX && session.IncludeHeaderFooter;
            if (direction_ == Direction::Encode && session.Kind < FormatKind::QuotedPrintable && from == n &&
                session.Now.Lines.BreakPending && session.Now.Group.HeldBytes == 0 && !footer) {
                const ByteSpan lineBreak = LineBreakBytes(session.EndOfLineType);
                owed.assign(lineBreak.begin(), lineBreak.end());
            }
            const Fed fed = Feed(session, direction_, input_.substr(from, to - from), final);
            if (direction_ == Direction::Decode) {
                Expect(fed == Expected(from, to + (final ? 1 : 0)), CodeName(fed.Code), cuts, from);
            }
            joined += fed.Bytes;
            Expect((session.State == SessionState::Idle) == (final || FAILED(fed.Code)), "state", cuts, from);
            if (FAILED(fed.Code) || !good_) return;
        }
        Expect(joined == bytes_ + owed, "joined output", cuts, n);
    }

    void Expect(bool holds, const std::string& what, const Cuts& cuts, size_t from) {
        if (holds || !good_) return;
        good_ = false;  // one report a row
        ADD_FAILURE() << name_ << ": " << what << " in the call from " << from << ", cuts "
                      << testing::PrintToString(cuts) << ", input " << testing::PrintToString(input_);
    }

    const char* name_;
    Setup setup_;
    Direction direction_;
    std::string_view input_;
    std::string bytes_;
    Fed whole_;
    std::vector<Fed> single_;
    std::mt19937 random_{20240607};
    bool good_ = false;
};

inline void CheckEverySplit(const char* name, const Setup& setup, Direction direction, std::string_view input,
                            HRESULT code, std::string_view bytes) {
    SplitChecker(name, setup, direction, input, code, bytes).CheckEvery();
}

}  // namespace talvo::test
