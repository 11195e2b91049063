// What a client's processor may answer and what that leads to, links that would close, and chains at their extremes.
#include <thread>

#include "tests/support/module/client_processor.h"
#include "tests/support/module/format_classes.h"
#include "tests/support/module/late_bound.h"

namespace talvo::test {
namespace {

// The bytes given are "ABC" and the text "QUJD"; the buffer "xyz" would become "eHl6".
const struct {
    const char* Name;
    Reply Answer;
    Converted Out;
    Converted Back;  // with what has been consumed
} kAnswers[] = {
    {"converts", {S_OK, "xyz"}, {"S_OK", "eHl6"}, {"S_OK", "xyz", 4}},
    {"warns", {berWarningInvalidChecksum, "xyz"}, {"S_OK", "eHl6"}, {"berWarningInvalidChecksum", "xyz", 4}},
    {"produces nothing", {S_OK}, {"S_OK"}, {"S_OK", "", 4}},
    {"produces nothing, in a buffer", {S_OK, ""}, {"S_OK"}, {"S_OK", "", 4}},
    {"passes through", {S_PASSTHROUGH}, {"S_OK", "QUJD"}, {"S_OK", "ABC", 4}},
    {"passes through, with a buffer", {S_PASSTHROUGH, "xyz"}, {"S_OK", "QUJD"}, {"S_OK", "ABC", 4}},
    {"fails", {berInvalidChecksum}, {"berInvalidChecksum"}, {"berInvalidChecksum", "", 4}},
    {"fails, with a buffer", {E_FAIL, "xyz"}, {"E_FAIL"}, {"E_FAIL", "", 4}},
    {"is busy", {berBusy}, {"berBusy"}, {"berBusy", "", 4}},
    {"gives a size and no bytes", {S_OK, {}, 9}, {"E_POINTER"}, {"E_POINTER", "", 4}},
};

TEST(Chains, AnswersOfAProcessor) {
    for (const auto& row : kAnswers) {
        SCOPED_TRACE(row.Name);
        std::string asked;
        const auto processor = ClientProcessor::New([&](const char* operation, std::string_view source, LONG end) {
            asked = std::string(operation) + " " + std::string(source) + " " + std::to_string(end);
            return row.Answer;
        });
        const FormatObject format = New(kBase64);
        // As a script hands it over.
        EXPECT_EQ(
            Call(As<IDispatch>(format.Data).Get(), "SubProcessing", DISPATCH_PROPERTYPUTREF, {Variant(processor.Get())})
                .Code,
            "S_OK");
        EXPECT_EQ(Process(format.Data.Get(), "ABC", true, 8, 8), row.Out);
        EXPECT_EQ(asked, "Process ABC 1");
        EXPECT_EQ(Revert(format.Data.Get(), "QUJD", true), row.Back);
        EXPECT_EQ(asked, "Revert ABC 1");
        // The decoder's warning is not the one that is told; its failure never reaches the processor.
        format.Number("ContinueOnInvalidData").Native.Put(1);
        const Converted repaired = Revert(format.Data.Get(), "QU!JD", true);
        EXPECT_EQ(repaired, (Converted{row.Back.Code, row.Back.Bytes, 5}));
        format.Number("ContinueOnInvalidData").Native.Put(0);
        asked.clear();
        EXPECT_EQ(Revert(format.Data.Get(), "!", true), (Converted{"berInvalidCharacterInData"}));
        EXPECT_EQ(asked, "");
        // Free for the other operation, though the session of a failed Revert is still open.
        EXPECT_EQ(Process(format.Data.Get(), "", false).Code, row.Out.Code);
        EXPECT_EQ(Name(format.Data->Reset()), "S_OK");
    }
}

// The model has the rest of the property.
TEST(Chains, AProcessorIsHeldOnceAndMayLackDispatch) {
    const FormatObject format = NewNamed(kXX);
    const auto processor = ClientProcessor::Always({S_PASSTHROUGH}, false);
    EXPECT_EQ(Name(format.Link(processor->Data())), "S_OK");
    EXPECT_EQ(processor->References(), 2u);
    IDispatch* dual = reinterpret_cast<IDispatch*>(&dual);
    EXPECT_EQ(Name(format.LinkedDual(&dual)), "E_NOINTERFACE");
    EXPECT_EQ(TakeError(), ErrorOf(format.ProgId, E_NOINTERFACE));
    EXPECT_EQ(dual, nullptr);
    for (const HRESULT hr : {format.Linked(nullptr), format.LinkedDual(nullptr)}) EXPECT_EQ(Name(hr), "E_POINTER");
    EXPECT_EQ(TakeError(), ErrorOf(format.ProgId, E_POINTER));
}

TEST(Chains, AProcessorMayLetGoOfItselfInItsReset) {
    const FormatObject format = New(kHexa);
    com::ComPtr<ClientProcessor> processor = ClientProcessor::Always({S_PASSTHROUGH});
    processor->OnReset = [&] { format.Link(nullptr); };
    format.Link(processor->Data());
    processor.Reset();
    EXPECT_EQ(Name(format.Data->Reset()), "S_OK");
    com::ComPtr<ITalvoProcessData> left;
    EXPECT_EQ(format.Linked(left.Put()), S_OK);
    EXPECT_FALSE(left);
}

// Chain of formats: each holds the one after it, the outermost is the first.
std::vector<FormatObject> Chain(size_t length, const std::function<int(size_t)>& kind) {
    std::vector<FormatObject> chain;
    for (size_t i = 0; i < length; ++i) {
        chain.push_back(NewNamed(kind(i)));
        if (i != 0) chain[i - 1].Link(chain[i].Data.Get());
    }
    return chain;
}

TEST(Chains, LoopsAreRefused) {
    const auto formats = Chain(3, [](size_t i) { return static_cast<int>(i); });
    for (size_t from = 0; from < 3; ++from) {
        for (size_t to = 0; to <= from; ++to) {
            EXPECT_EQ(Name(formats[from].Link(formats[to].Data.Get())), "E_INVALIDARG");
            EXPECT_EQ(Name(formats[from].LinkDual(As<IDispatch>(formats[to].Data).Get())), "E_INVALIDARG");
        }
    }
    EXPECT_EQ(TakeError(), ErrorOf("Talvo.Base64Encoding.1", E_INVALIDARG));
    // One processor behind two objects is no loop, and a link taken away leads nowhere any more.
    EXPECT_EQ(Name(formats[0].Link(formats[2].Data.Get())), "S_OK");
    EXPECT_EQ(Name(formats[1].Link(nullptr)), "S_OK");
    EXPECT_EQ(Name(formats[2].Link(formats[1].Data.Get())), "S_OK");
    EXPECT_EQ(Name(formats[1].Link(formats[0].Data.Get())), "E_INVALIDARG");
}

// Nobody can refuse a loop through a client's processor; each object on it enters once.
TEST(Chains, AnObjectTwiceInOneChainIsBusyTheSecondTime) {
    const auto formats = Chain(2, [](size_t) { return kBase64; });
    ITalvoEncodeData* const outer = formats[0].Data.Get();
    const auto processor = ClientProcessor::New([&](std::string_view operation, std::string_view source, LONG end) {
        const Converted again = operation == "Process" ? Process(outer, source, end) : Revert(outer, source, end);
        return Reply{again.Code == "berBusy" ? HRESULT{berBusy} : E_UNEXPECTED};
    });
    std::string inReset;
    processor->OnReset = [&] { inReset = Name(outer->Reset()); };
    formats[1].Link(processor->Data());
    EXPECT_EQ(Process(outer, "ABC", false).Code, "berBusy");
    EXPECT_EQ(Revert(outer, "UVVKRA==", false).Code, "berBusy");
    EXPECT_EQ(Name(outer->Reset()), "S_OK");
    EXPECT_EQ(inReset, "berBusy");
    EXPECT_EQ(Name(formats[1].Link(nullptr)), "S_OK");
    EXPECT_EQ(Process(outer, "ABC", true).Bytes, "UVVKRA==");
}

TEST(Chains, AnInnerObjectOutlivesItsOuter) {
    auto formats = Chain(2, [](size_t) { return kBase64; });
    EXPECT_EQ(Process(formats[0].Data.Get(), "ABCD", false).Bytes, "UVVK");
    formats[0] = {};
    EXPECT_EQ(Revert(formats[1].Data.Get(), "QUJD", true).Code, "berSessionOpened");  // nobody has reset it
    EXPECT_EQ(Process(formats[1].Data.Get(), "", true).Bytes, "RA==");
}

#ifdef __SANITIZE_THREAD__
constexpr size_t kLongChain = 50;  // its deadlock detector ends the program when a thread holds 64 locks
#else
constexpr size_t kLongChain = 1000;
#endif

// In a thread, whose stack is the usual one also where the first thread's is larger.
TEST(Chains, OfAThousandFormats) {
    std::thread([] {
        const ComThread com;
        auto chain = Chain(kLongChain, [](size_t) { return kQuotedPrintable; });  // which does not grow a short text
        EXPECT_EQ(Name(chain.back().Link(chain.front().Data.Get())), "E_INVALIDARG");
        const FormatObject outer = chain.front();
        chain.clear();
        for (const bool end : {false, true}) EXPECT_EQ(Process(outer.Data.Get(), end ? "b" : "a", end).Code, "S_OK");
        EXPECT_EQ(Revert(outer.Data.Get(), "text", true).Bytes, "text");
        EXPECT_EQ(Process(outer.Data.Get(), "left open", false).Code, "S_OK");
        EXPECT_EQ(Name(outer.Data->Reset()), "S_OK");
        EXPECT_EQ(Process(outer.Data.Get(), "text", true).Bytes, "text");
    }).join();
}

}  // namespace
}  // namespace talvo::test
