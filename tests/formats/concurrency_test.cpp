// One object under many threads. The first tests hold a call at a known place and look from outside; the last ones let
// threads loose and check that every answer is one that the rules allow. Made for the thread sanitizer.
#include <chrono>
#include <functional>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "tests/formats/client_processor.h"
#include "tests/formats/format_classes.h"
#include "tests/support/signal.h"

namespace talvo::test {
namespace {

// A format whose call waits inside its processor until it is let go.
template <class Format>
class HeldCall {
public:
    HeldCall() { Native->putref_SubProcessing(processor_->Data()); }

    // Starts `call` on a thread of its own and returns when it is inside.
    void Start(std::function<void()> call) {
        thread_ = std::thread([call = std::move(call)] {
            const ComThread com;
            call();
        });
        inside_.Await();
    }
    void Finish() {
        goOn_.Raise();
        thread_.join();
    }

    com::ComPtr<ITalvoEncodeData> Data = Format::New();
    com::ComPtr<typename Format::Native> Native = As<typename Format::Native>(Data);
    com::ComPtr<typename Format::Dual> Dual = As<typename Format::Dual>(Data);

private:
    Signal inside_;
    Signal goOn_;
    com::ComPtr<ClientProcessor> processor_ = ClientProcessor::New([this](const char*, std::string_view, LONG) {
        inside_.Raise();
        goOn_.Await();
        return Reply{S_PASSTHROUGH};
    });
    std::thread thread_;
};

// What another thread is told meanwhile, and what the call itself answers afterwards.
template <class Format>
void LookFromOutside(bool decoding) {
    HeldCall<Format> held;
    held.Native->put_MaxLineLength(20);
    held.Data->put_HeaderFilename(Bstr("a.txt").Get());
    Converted result;
    held.Start([&] { result = decoding ? Revert(held.Data.Get(), "", false) : Process(held.Data.Get(), "", false); });

    EXPECT_EQ(Process(held.Data.Get(), "A", true).Code, "berBusy");
    EXPECT_EQ(Revert(held.Data.Get(), "QUJD", true).Code, "berBusy");
    EXPECT_EQ(Name(held.Data->Reset()), "berBusy");
    for (const HRESULT hr :
         {held.Native->put_MaxLineLength(8), held.Dual->put_MaxLineLength(8), held.Native->put_EndOfLineType(bltLf),
          held.Native->put_ContinueOnInvalidData(1), held.Dual->put_ContinueOnInvalidData(VARIANT_TRUE),
          held.Data->put_HeaderFilename(Bstr("b").Get()), held.Native->putref_SubProcessing(nullptr),
          held.Dual->putref_SubProcessing(static_cast<IDispatch*>(nullptr))}) {
        EXPECT_EQ(Name(hr), "berSessionOpened");
    }
    LONG length = 0;
    com::UniqueBstr name;
    com::ComPtr<ITalvoProcessData> processor;
    EXPECT_EQ(Name(held.Dual->get_MaxLineLength(&length)), "S_OK");
    EXPECT_EQ(length, 20);
    EXPECT_EQ(Name(held.Data->get_HeaderFilename(name.Put())), "S_OK");
    EXPECT_EQ(Name(held.Native->get_SubProcessing(processor.Put())), "S_OK");
    EXPECT_TRUE(processor);

    held.Finish();
    EXPECT_EQ(result.Code, "S_OK");
    EXPECT_EQ(Name(held.Data->Reset()), "S_OK");
    EXPECT_EQ(Name(held.Native->put_MaxLineLength(8)), "S_OK");
}

TEST(Concurrency, ARunningCallKeepsAllOthersOut) {
    ForEachFormat([]<class Format>() {
        for (const bool decoding : {false, true}) LookFromOutside<Format>(decoding);
    });
}

// The outer object of a chain gets the busy answer of its processor, and is free again.
TEST(Concurrency, ABusyProcessorStopsTheOuterCallAlone) {
    HeldCall<Base64> held;
    const auto outer = Base64::New();
    As<ITalvoBase64EncodingFormat>(outer)->putref_SubProcessing(held.Data.Get());
    held.Start([&] { Process(held.Data.Get(), "ABC", true); });
    EXPECT_EQ(Process(outer.Get(), "ABC", false).Code, "berBusy");
    EXPECT_EQ(Name(outer->Reset()), "S_OK");  // though the processor's own Reset is refused
    EXPECT_EQ(Revert(outer.Get(), "", false).Code, "berBusy");
    EXPECT_EQ(Name(As<ITalvoBase64EncodingFormat>(outer)->putref_SubProcessing(nullptr)), "S_OK");
    held.Finish();
}

// A name is read whole or empty while decodings clear it and read another.
TEST(Concurrency, NamesAreNeverTornWhileDecodingsReplaceThem) {
    constexpr std::string_view kName = "a rather long name, so that a torn one would show.txt";
    const struct {
        com::ComPtr<ITalvoEncodeData> Format;
        std::string Decoded, Text;
    } kRows[] = {
        {UU::New(), "what the text says, of another length", "begin 644 what the text says, of another length\n`"},
        {BinHex::New(), "two",
         "(This file must be converted with BinHex 4.0)\n"
         ":!h4hE`\"\"8&\"-3d&56b%!!!!!\"!!!!!Dd5Q4KG''(BR*PFj!!N!#3!-k9:\n"}};
    for (const auto& row : kRows) {
        std::atomic<bool> stop = false;
        std::thread reader([&] {
            const ComThread com;
            while (!stop) {
                com::UniqueBstr name;
                ASSERT_EQ(row.Format->get_HeaderFilename(name.Put()), S_OK);
                const std::string text = Narrow({name.Get(), SysStringLen(name.Get())});
                ASSERT_TRUE(text.empty() || text == kName || text == row.Decoded) << text;
            }
        });
        const com::UniqueBstr name = Bstr(kName);
        for (int i = 0; i < 2000; ++i) {
            EXPECT_EQ(row.Format->put_HeaderFilename(name.Get()), S_OK);
            EXPECT_EQ(Revert(row.Format.Get(), row.Text, false).Code, "S_OK");
            EXPECT_EQ(Name(row.Format->Reset()), "S_OK");
        }
        stop = true;
        reader.join();
    }
}

// --- Threads let loose

using Codes = std::set<std::string>;
const Codes kConversionCodes = {"S_OK", "berBusy", "berSessionOpened"};
const Codes kPutCodes = {"S_OK", "berSessionOpened"};

struct Work {
    const char* Name;
    std::function<std::string(unsigned random)> Do;  // the code
    Codes Allowed;
};

void Hammer(const std::vector<Work>& works) {
    constexpr int kThreads = 4;
    constexpr auto kTime = std::chrono::milliseconds(300);
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < kThreads; ++number) {
        threads.emplace_back([&works, number, kTime] {
            const ComThread com;
            std::minstd_rand random(number + 1);
            for (const auto end = std::chrono::steady_clock::now() + kTime; std::chrono::steady_clock::now() < end;) {
                const Work& work = works[random() % works.size()];
                const std::string code = work.Do(static_cast<unsigned>(random()));
                ASSERT_TRUE(work.Allowed.contains(code)) << work.Name << ": " << code;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// Both texts decode without an error wherever the calls are cut: "ABCABCABC" in Base64, once and twice.
constexpr const char* kText = "QUJDQUJDQUJD";
constexpr const char* kTextTwice = "UVVKRFFVSkRRVUpE";

TEST(Concurrency, EveryAnswerUnderLoadIsAnAllowedOne) {
    const auto format = Base64::New();
    const auto native = As<ITalvoBase64EncodingFormat>(format);
    const auto dual = As<DTalvoBase64EncodingFormat>(format);
    const auto passThrough = [](const char*, std::string_view, LONG) { return Reply{S_PASSTHROUGH}; };
    const com::ComPtr<ClientProcessor> processors[] = {ClientProcessor::New(passThrough),
                                                       ClientProcessor::New(passThrough)};
    Hammer({
        {"Process", [&](unsigned r) { return Process(format.Get(), "ABC", r % 2 != 0).Code; }, kConversionCodes},
        {"Revert", [&](unsigned r) { return Revert(format.Get(), kText, r % 2 != 0).Code; }, kConversionCodes},
        {"Reset", [&](unsigned) { return Name(format->Reset()); }, {"S_OK", "berBusy"}},
        {"put", [&](unsigned r) { return Name(native->put_MaxLineLength(4 + r % 99)); }, kPutCodes},
        {"put of the name", [&](unsigned) { return Name(format->put_HeaderFilename(Bstr("n").Get())); }, kPutCodes},
        {"get",
         [&](unsigned) {
             LONG length = 0;
             return Name(dual->get_MaxLineLength(&length));
         },
         {"S_OK"}},
        {"get of the name",
         [&](unsigned) {
             com::UniqueBstr name;
             return Name(format->get_HeaderFilename(name.Put()));
         },
         {"S_OK"}},
        {"get of the processor",
         [&](unsigned) {
             com::ComPtr<IDispatch> processor;
             return Name(dual->get_SubProcessing(processor.Put()));
         },
         {"S_OK"}},
        {"putref",
         [&](unsigned r) {
             return Name(native->putref_SubProcessing(r % 3 == 2 ? nullptr : processors[r % 3]->Data()));
         },
         kPutCodes},
        {"create",
         [&](unsigned) { return Process(Base64::New().Get(), "ABC", true).Bytes == "QUJD" ? "S_OK" : "wrong"; },
         {"S_OK"}},
    });
    EXPECT_EQ(Name(format->Reset()), "S_OK");
    native->put_MaxLineLength(0);
    EXPECT_EQ(Process(format.Get(), "ABC", true).Bytes, "QUJD");
}

// Two chains over one processor, Reset on all of them, links being made and refused: no deadlock, no foreign answer.
TEST(Concurrency, SharedChainsUnderLoad) {
    const auto shared = Base64::New();
    const com::ComPtr<ITalvoEncodeData> outers[] = {Base64::New(), Base64::New()};
    const auto link = [](const com::ComPtr<ITalvoEncodeData>& from, ITalvoProcessData* to) {
        return Name(As<ITalvoBase64EncodingFormat>(from)->putref_SubProcessing(to));
    };
    for (const auto& outer : outers) ASSERT_EQ(link(outer, shared.Get()), "S_OK");
    Hammer({
        {"Process", [&](unsigned r) { return Process(outers[r % 2].Get(), "ABC", r % 3 == 0).Code; }, kConversionCodes},
        {"Revert", [&](unsigned r) { return Revert(outers[r % 2].Get(), kTextTwice, r % 3 == 0).Code; },
         kConversionCodes},
        {"Process below", [&](unsigned) { return Process(shared.Get(), "ABC", true).Code; }, kConversionCodes},
        {"Reset", [&](unsigned r) { return Name(outers[r % 2]->Reset()); }, {"S_OK", "berBusy"}},
        {"Reset below", [&](unsigned) { return Name(shared->Reset()); }, {"S_OK", "berBusy"}},
        {"relink", [&](unsigned r) { return link(outers[r % 2], shared.Get()); }, kPutCodes},
        {"loop", [&](unsigned r) { return link(shared, outers[r % 2].Get()); }, {"E_INVALIDARG", "berSessionOpened"}},
    });
    for (const auto& outer : outers) EXPECT_EQ(Name(outer->Reset()), "S_OK");
    EXPECT_EQ(Process(outers[0].Get(), "ABC", true).Bytes, "UVVKRA==");
}

}  // namespace
}  // namespace talvo::test
