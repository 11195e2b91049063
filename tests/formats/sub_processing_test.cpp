// The sub-processor: its property, and the steps that its answers lead to on the way out and on the way back.
#include <string>
#include <vector>

#include "tests/formats/client_processor.h"
#include "tests/formats/format_classes.h"

namespace talvo::test {
namespace {

ClientProcessor::Answer Always(Reply reply) {
    return [reply](const char*, std::string_view, LONG) { return reply; };
}

// The property, through the native interface and through the automation one.
template <class Format>
struct Link {
    com::ComPtr<ITalvoEncodeData> Data = Format::New();
    com::ComPtr<typename Format::Native> Native = As<typename Format::Native>(Data);
    com::ComPtr<typename Format::Dual> Dual = As<typename Format::Dual>(Data);

    // What both gets answer: the held object's identity, or null.
    IUnknown* Held() const {
        com::ComPtr<ITalvoProcessData> native;
        com::ComPtr<IDispatch> dual;
        EXPECT_EQ(Native->get_SubProcessing(native.Put()), S_OK);
        EXPECT_EQ(Dual->get_SubProcessing(dual.Put()), S_OK);
        const auto one = As<IUnknown>(native);
        EXPECT_EQ(one.Get(), As<IUnknown>(dual).Get());
        return one.Get();  // identity alone; the property keeps it alive
    }
};

TEST(SubProcessing, IsSetReadAndRemovedOnBothInterfaces) {
    ForEachFormat([]<class Format>() {
        const auto processor = ClientProcessor::New(Always({}));
        IUnknown* const identity = As<IUnknown>(com::ComPtr<ITalvoProcessData>(processor->Data())).Get();
        const Link<Format> link;
        EXPECT_EQ(link.Held(), nullptr);
        for (const bool dual : {false, true}) {
            LeaveStaleError();
            EXPECT_EQ(dual ? link.Dual->putref_SubProcessing(static_cast<IDispatch*>(processor.Get()))
                           : link.Native->putref_SubProcessing(processor->Data()),
                      S_OK);
            EXPECT_EQ(TakeError(), "none");
            EXPECT_EQ(link.Held(), identity);
            EXPECT_EQ(processor->References(), 2u);
            EXPECT_EQ(dual ? link.Dual->putref_SubProcessing(static_cast<IDispatch*>(nullptr))
                           : link.Native->putref_SubProcessing(static_cast<ITalvoProcessData*>(nullptr)),
                      S_OK);
            EXPECT_EQ(link.Held(), nullptr);
            EXPECT_EQ(processor->References(), 1u);
        }
        EXPECT_EQ(Name(link.Native->get_SubProcessing(nullptr)), "E_POINTER");
        EXPECT_EQ(TakeError(), ErrorOf(Format::kProgId, E_POINTER));
        EXPECT_EQ(Name(link.Dual->get_SubProcessing(nullptr)), "E_POINTER");
        EXPECT_EQ(TakeError(), ErrorOf(Format::kProgId, E_POINTER));
    });
}

TEST(SubProcessing, ObjectsThatLackAnInterface) {
    const Link<Base64> link;
    const auto kept = ClientProcessor::New(Always({}));
    const auto noProcessor = ClientProcessor::New(Always({}), true, false);
    const auto noDispatch = ClientProcessor::New(Always({}), false, true);
    ASSERT_EQ(link.Native->putref_SubProcessing(kept->Data()), S_OK);

    EXPECT_EQ(Name(link.Dual->putref_SubProcessing(static_cast<IDispatch*>(noProcessor.Get()))), "E_INVALIDARG");
    EXPECT_EQ(TakeError(), ErrorOf(Base64::kProgId, E_INVALIDARG));
    EXPECT_EQ(link.Held(), As<IUnknown>(kept).Get());

    ASSERT_EQ(link.Native->putref_SubProcessing(noDispatch->Data()), S_OK);
    IDispatch* dual = reinterpret_cast<IDispatch*>(&dual);
    EXPECT_EQ(Name(link.Dual->get_SubProcessing(&dual)), "E_NOINTERFACE");
    EXPECT_EQ(dual, nullptr);
    EXPECT_EQ(TakeError(), ErrorOf(Base64::kProgId, E_NOINTERFACE));
}

TEST(SubProcessing, IsFrozenWhileTheObjectHasAnOwner) {
    const Link<Base64> link;
    const auto processor = ClientProcessor::New(Always({S_PASSTHROUGH}));
    const auto noProcessor = ClientProcessor::New(Always({}), true, false);
    for (const bool decoding : {false, true}) {
        EXPECT_EQ(decoding ? Revert(link.Data.Get(), "", false).Code : Process(link.Data.Get(), "", false).Code,
                  "S_OK");
        for (const HRESULT hr :
             {link.Native->putref_SubProcessing(processor->Data()), link.Native->putref_SubProcessing(nullptr),
              link.Dual->putref_SubProcessing(static_cast<IDispatch*>(processor.Get())),
              link.Dual->putref_SubProcessing(static_cast<IDispatch*>(noProcessor.Get()))}) {
            EXPECT_EQ(Name(hr), "berSessionOpened");
        }
        EXPECT_EQ(TakeError(), ErrorOf(Base64::kProgId, berSessionOpened));
        EXPECT_EQ(link.Held(), nullptr);
        link.Data->Reset();
    }
}

TEST(SubProcessing, ChainsThatWouldCloseAreRefused) {
    const Link<Base64> first;
    const Link<Hexa> second;
    const Link<UU> third;
    const auto other = ClientProcessor::New(Always({}));
    ASSERT_EQ(first.Native->putref_SubProcessing(second.Data.Get()), S_OK);
    ASSERT_EQ(second.Native->putref_SubProcessing(third.Data.Get()), S_OK);
    ASSERT_EQ(third.Native->putref_SubProcessing(other->Data()), S_OK);
    EXPECT_EQ(Name(first.Native->putref_SubProcessing(first.Data.Get())), "E_INVALIDARG");
    EXPECT_EQ(Name(second.Dual->putref_SubProcessing(first.Dual.Get())), "E_INVALIDARG");
    EXPECT_EQ(Name(third.Native->putref_SubProcessing(first.Data.Get())), "E_INVALIDARG");
    EXPECT_EQ(TakeError(), ErrorOf(UU::kProgId, E_INVALIDARG));
    EXPECT_EQ(third.Held(), As<IUnknown>(other).Get());
    // One processor behind two objects is no loop.
    EXPECT_EQ(first.Native->putref_SubProcessing(third.Data.Get()), S_OK);
}

struct AnswerRow {
    const char* Name;
    Reply Answer;
    const char* Code;
    const char* Bytes;
};

// The bytes given are "ABC" and the text "QUJD"; the buffer "xyz" would become "eHl6".
const AnswerRow kProcessAnswers[] = {
    {"converts", {S_OK, "xyz"}, "S_OK", "eHl6"},
    {"warns", {berWarningInvalidChecksum, "xyz"}, "S_OK", "eHl6"},
    {"produces nothing", {S_OK, nullptr}, "S_OK", ""},
    {"passes through", {S_PASSTHROUGH, nullptr}, "S_OK", "QUJD"},
    {"passes through, with a buffer", {S_PASSTHROUGH, "xyz"}, "S_OK", "QUJD"},
    {"fails", {berInvalidChecksum, nullptr}, "berInvalidChecksum", ""},
    {"fails, with a buffer", {E_FAIL, "xyz"}, "E_FAIL", ""},
};
const AnswerRow kRevertAnswers[] = {
    {"converts", {S_OK, "xyz"}, "S_OK", "xyz"},
    {"warns", {berWarningInvalidChecksum, "xyz"}, "berWarningInvalidChecksum", "xyz"},
    {"produces nothing", {S_OK, nullptr}, "S_OK", ""},
    {"passes through", {S_PASSTHROUGH, nullptr}, "S_OK", "ABC"},
    {"passes through, with a buffer", {S_PASSTHROUGH, "xyz"}, "S_OK", "ABC"},
    {"fails", {berInvalidChecksum, nullptr}, "berInvalidChecksum", ""},
    {"fails, with a buffer", {E_FAIL, "xyz"}, "E_FAIL", ""},
};

TEST(SubProcessing, AnswersOnTheWayOut) {
    for (const auto& row : kProcessAnswers) {
        SCOPED_TRACE(row.Name);
        std::string asked;
        const auto processor = ClientProcessor::New([&](const char* operation, std::string_view source, LONG end) {
            asked = std::string(operation) + " " + std::string(source) + " " + std::to_string(end);
            return row.Answer;
        });
        const Link<Base64> link;
        link.Native->putref_SubProcessing(processor->Data());
        EXPECT_EQ(Process(link.Data.Get(), "ABC", true, 8, 8), (Converted{row.Code, row.Bytes, 0}));
        EXPECT_EQ(asked, "Process ABC 1");
        EXPECT_EQ(Process(link.Data.Get(), "", false).Code, row.Code);
        EXPECT_EQ(asked, "Process  0");
    }
}

TEST(SubProcessing, AnswersOnTheWayBack) {
    for (const auto& row : kRevertAnswers) {
        for (const bool tolerant : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.Name << (tolerant ? ", the decoder warns" : ""));
            std::string asked;
            const auto processor = ClientProcessor::New([&](const char* operation, std::string_view source, LONG end) {
                asked = std::string(operation) + " " + std::string(source) + " " + std::to_string(end);
                return row.Answer;
            });
            const Link<Base64> link;
            link.Native->put_ContinueOnInvalidData(tolerant);
            link.Native->putref_SubProcessing(processor->Data());
            const char* const text = tolerant ? "QU!JD" : "QUJD";
            const DWORD size = tolerant ? 5 : 4;
            EXPECT_EQ(Revert(link.Data.Get(), text, true), (Converted{row.Code, row.Bytes, size}));
            EXPECT_EQ(asked, "Revert ABC 1");
        }
    }
}

TEST(SubProcessing, AFailedDecodingNeverReachesTheProcessor) {
    const auto processor = ClientProcessor::New([](const char*, std::string_view, LONG) {
        ADD_FAILURE();
        return Reply{};
    });
    const Link<Base64> link;
    link.Native->putref_SubProcessing(processor->Data());
    EXPECT_EQ(Revert(link.Data.Get(), "!", true), (Converted{"berInvalidCharacterInData", "", 0}));
}

TEST(SubProcessing, AProcessorThatCallsBackFindsTheObjectBusy) {
    const Link<Base64> link;
    std::vector<std::string> codes;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view, LONG) {
        codes = {Process(link.Data.Get(), "A", true).Code, Revert(link.Data.Get(), "QUJD", true).Code,
                 Name(link.Data->Reset()), Name(link.Native->put_MaxLineLength(8)),
                 Name(link.Native->putref_SubProcessing(nullptr))};
        return Reply{S_PASSTHROUGH};
    });
    link.Native->putref_SubProcessing(processor->Data());
    const std::vector<std::string> refused = {"berBusy", "berBusy", "berBusy", "berSessionOpened", "berSessionOpened"};
    EXPECT_EQ(Process(link.Data.Get(), "ABC", true).Bytes, "QUJD");
    EXPECT_EQ(codes, refused);
    codes.clear();
    EXPECT_EQ(Revert(link.Data.Get(), "QUJD", true).Bytes, "ABC");
    EXPECT_EQ(codes, refused);
}

TEST(SubProcessing, ChainsOfFormatsOpenCloseAndResetTogether) {
    const Link<Base64> outer;
    const Link<Base64> middle;
    const auto inner = ClientProcessor::New(Always({S_PASSTHROUGH}));
    outer.Native->putref_SubProcessing(middle.Data.Get());
    middle.Native->putref_SubProcessing(inner->Data());
    EXPECT_EQ(Process(outer.Data.Get(), "ABC", true).Bytes, "UVVKRA==");
    EXPECT_EQ(Revert(outer.Data.Get(), "UVVKRA==", true).Bytes, "ABC");
    EXPECT_EQ(Process(outer.Data.Get(), "ABCD", false).Bytes, "UVVK");
    EXPECT_EQ(Revert(middle.Data.Get(), "", true).Code, "berSessionOpened");
    EXPECT_EQ(Name(outer.Data->Reset()), "S_OK");  // the inner one's failure is its own
    EXPECT_EQ(inner->Resets, 1);
    EXPECT_EQ(Revert(middle.Data.Get(), "", true).Code, "S_OK");

    // A middle object in the other direction stops the outer call and leaves it free.
    EXPECT_EQ(Revert(middle.Data.Get(), "QUJ", false).Code, "S_OK");
    EXPECT_EQ(Process(outer.Data.Get(), "ABC", false).Code, "berSessionOpened");
    EXPECT_EQ(outer.Native->putref_SubProcessing(nullptr), S_OK);
    EXPECT_EQ(Revert(outer.Data.Get(), "QUJD", true).Bytes, "ABC");
}

}  // namespace
}  // namespace talvo::test
