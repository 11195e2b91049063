// What a client's processor may answer and what that leads to, links that would close, and chains at their extremes.
#include <thread>

#include "tests/support/module/client_processor.h"
#include "tests/support/module/format_classes.h"
#include "tests/support/module/late_bound.h"

namespace talvo::test {
namespace {

// The model plays through what else a processor may answer.
TEST(Chains, BuffersOfAProcessor) {
    Reply answer;
    std::string asked;
    const auto processor = ClientProcessor::New([&](const char* operation, std::string_view source, LONG end) {
        asked += std::string(operation) + " " + std::string(source) + " " + std::to_string(end) + ". ";
        return answer;
    });
    const FormatObject format = New(kBase64);
    // As a script hands it over.
    const auto dual = As<IDispatch>(format.Data);
    EXPECT_EQ(Call(dual.Get(), "SubProcessing", DISPATCH_PROPERTYPUTREF, {Variant(processor.Get())}).Code, "S_OK");
    const auto expect = [&](const Converted& out, const Converted& back) {
        EXPECT_EQ(Process(format.Data.Get(), "ABC", true, 8, 8), out);
        EXPECT_EQ(Revert(format.Data.Get(), "QUJD", true), back);
        EXPECT_EQ(std::exchange(asked, ""), "Process ABC 1. Revert ABC 1. ");
    };
    answer = {S_OK, ""};
    expect({"S_OK"}, {"S_OK", "", 4});
    answer = {S_OK, {}, 9};  // a size and no bytes
    expect({"E_POINTER"}, {"E_POINTER", "", 4});
    // What cannot be decoded never reaches it.
    EXPECT_EQ(Revert(format.Data.Get(), "!", true), (Converted{"berInvalidCharacterInData"}));
    EXPECT_EQ(asked, "");
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
    com::ComPtr<ITalvoProcessData> native;
    com::ComPtr<IDispatch> dual;
    EXPECT_EQ(formats[0].Linked(native.Put()), S_OK);
    EXPECT_EQ(formats[0].LinkedDual(dual.Put()), S_OK);
    for (const auto& linked : {As<IUnknown>(native), As<IUnknown>(dual)})
        EXPECT_EQ(linked.Get(), As<IUnknown>(formats[1].Data).Get());
    // One processor behind two objects is no loop, and a link taken away leads nowhere any more.
    EXPECT_EQ(Name(formats[0].Link(formats[2].Data.Get())), "S_OK");
    EXPECT_EQ(Name(formats[1].Link(nullptr)), "S_OK");
    EXPECT_EQ(Name(formats[2].Link(formats[1].Data.Get())), "S_OK");
    EXPECT_EQ(Name(formats[1].Link(formats[0].Data.Get())), "E_INVALIDARG");
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
