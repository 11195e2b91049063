// Who may convert when: the owner of a conversion, and the cases where it parts from the state of the session.
#include <vector>

#include "tests/formats/client_processor.h"
#include "tests/formats/format_classes.h"

namespace talvo::test {
namespace {

enum Operation { P, R, X };  // Process, Revert, Reset

struct Step {
    Operation What;
    const char* Source = "";
    bool End = false;
    const char* Code = "S_OK";
    const char* Bytes = "";
};

// A story runs on one object; a Revert that succeeds has consumed everything.
void Tell(ITalvoEncodeData* format, const std::vector<Step>& steps) {
    int number = 0;
    for (const Step& step : steps) {
        SCOPED_TRACE(testing::Message() << "step " << ++number);
        LeaveStaleError();
        if (step.What == X) {
            EXPECT_EQ(Name(format->Reset()), step.Code);
        } else if (step.What == P) {
            EXPECT_EQ(Process(format, step.Source, step.End), (Converted{step.Code, step.Bytes, 0}));
        } else {
            const bool converted = std::string_view(step.Code).find("ber") != 0;
            const auto size = static_cast<DWORD>(std::string_view(step.Source).size());
            EXPECT_EQ(Revert(format, step.Source, step.End), (Converted{step.Code, step.Bytes, converted ? size : 0}));
        }
        EXPECT_EQ(TakeError(), "stale");  // these methods report by result code only
    }
}

const struct {
    const char* Name;
    std::vector<Step> Steps;
} kStories[] = {
    {"one call each way", {{P, "ABC", true, "S_OK", "QUJD"}, {R, "QUJD", true, "S_OK", "ABC"}}},
    {"an open Process keeps Revert out",
     {{P, "AB"},
      {R, "QUJD", true, "berSessionOpened"},
      {R, "", false, "berSessionOpened"},
      {P, "C", false, "S_OK", "QUJD"},
      {P, "", true},
      {R, "QUJD", true, "S_OK", "ABC"}}},
    {"an open Revert keeps Process out",
     {{R, "QUJ"},
      {P, "ABC", true, "berSessionOpened"},
      {R, "D", true, "S_OK", "ABC"},
      {P, "ABC", true, "S_OK", "QUJD"}}},
    {"an empty call opens",
     {{P}, {R, "", true, "berSessionOpened"}, {X}, {R}, {P, "", true, "berSessionOpened"}, {X}, {P}}},
    {"empty conversions", {{P, "", true}, {R, "", true}, {P}, {P, "", true}, {R}, {R, "", true}}},
    {"Reset abandons what is held",
     {{P, "AB"}, {X}, {P, "ABC", true, "S_OK", "QUJD"}, {R, "QU"}, {X}, {R, "QUJD", true, "S_OK", "ABC"}, {X}, {X}}},
    {"a failed Revert lets either follow",
     {{R, "Q!", false, "berInvalidCharacterInData"},
      {P, "ABC", true, "S_OK", "QUJD"},
      {R, "!", true, "berInvalidCharacterInData"},
      {R, "QUJD", true, "S_OK", "ABC"}}},
    {"a group cut short is consumed", {{R, "QUJDR", false, "S_OK", "ABC"}, {X}}},
};

TEST(Admission, OwnerTransitions) {
    for (const auto& story : kStories) {
        SCOPED_TRACE(story.Name);
        Tell(Base64::New().Get(), story.Steps);
    }
}

// A Process call that fails before the end of data keeps its conversion: the session has ended, the owner has not.
TEST(Admission, AFailedProcessBeforeTheEndKeepsRevertOut) {
    const auto format = UU::New();
    const auto native = As<ITalvoUUEncodingFormat>(format);
    Tell(format.Get(), {{P, "x", false, "berEmptyFileNameInHeader"}, {R, "", true, "berSessionOpened"}});
    EXPECT_EQ(Name(native->putref_SubProcessing(nullptr)), "berSessionOpened");
    EXPECT_EQ(Name(native->put_IncludeHeaderFooter(0)), "S_OK");  // options follow the session
    Tell(format.Get(), {{P}});                                    // and it starts from scratch
    EXPECT_EQ(Name(native->put_IncludeHeaderFooter(1)), "berSessionOpened");
    Tell(format.Get(), {{X}, {R}, {X}});

    EXPECT_EQ(Name(native->put_IncludeHeaderFooter(1)), "S_OK");
    Tell(format.Get(), {{P, "x", false, "berEmptyFileNameInHeader"},
                        {P, "x", true, "berEmptyFileNameInHeader"},  // the end gives the object free, failed or not
                        {R}});
}

// A failed sub-processor closes the conversion of the object, and leaves the session as it is.
TEST(Admission, AFailedSubProcessorFreesTheOwnerButNotTheSession) {
    bool fails = false;
    const auto processor = ClientProcessor::New(
        [&](const char*, std::string_view, LONG) { return Reply{fails ? E_FAIL : S_PASSTHROUGH}; });
    const auto format = Base64::New();
    const auto native = As<ITalvoBase64EncodingFormat>(format);
    ASSERT_EQ(native->putref_SubProcessing(processor->Data()), S_OK);

    Tell(format.Get(), {{P, "AB"}});
    fails = true;
    Tell(format.Get(), {{P, "x", false, "E_FAIL"}});
    fails = false;
    Tell(format.Get(), {{R, "QUJD", false, "berSessionOpened"},  // admitted, and refused by the session
                        {R, "QUJD", true, "berSessionOpened"},
                        {P, "C", true, "S_OK", "QUJD"}});  // the encoding goes on

    Tell(format.Get(), {{R, "QUJ"}});
    fails = true;
    EXPECT_EQ(Revert(format.Get(), "D", false), (Converted{"E_FAIL", "", 1}));
    fails = false;
    EXPECT_EQ(Name(native->put_MaxLineLength(8)), "berSessionOpened");
    EXPECT_EQ(Name(native->putref_SubProcessing(processor->Data())), "S_OK");
    Tell(format.Get(),
         {{P, "", true, "berSessionOpened"}, {R, "RE", false}, {R, "VG", true, "S_OK", "DEF"}, {P, "", false}, {X}});

    Tell(format.Get(), {{R, "QUJ"}});
    fails = true;
    EXPECT_EQ(Revert(format.Get(), "D", false), (Converted{"E_FAIL", "", 1}));
    fails = false;
    Tell(format.Get(), {{P, "A", false, "berSessionOpened"},  // and owns the object although it failed
                        {R, "QUJD", true, "berSessionOpened"},
                        {X},
                        {R, "QUJD", true, "S_OK", "ABC"}});
}

TEST(Admission, MissingOutPointersOpenNothing) {
    const auto format = Base64::New();
    BYTE* block = nullptr;
    DWORD size = 0;
    DWORD used = 0;
    const BYTE source[] = {'A'};
    EXPECT_EQ(Name(format->Process(source, 1, 0, 0, 0, nullptr, &size)), "E_POINTER");
    EXPECT_EQ(Name(format->Process(source, 1, 0, 0, 0, &block, nullptr)), "E_POINTER");
    Tell(format.Get(), {{R}, {X}});
    EXPECT_EQ(Name(format->Revert(source, 1, 0, nullptr, &size, &used)), "E_POINTER");
    EXPECT_EQ(Name(format->Revert(source, 1, 0, &block, nullptr, &used)), "E_POINTER");
    EXPECT_EQ(Name(format->Revert(source, 1, 0, &block, &size, nullptr)), "E_POINTER");
    Tell(format.Get(), {{P}, {X}});
    // A source that is not there, though its size says so.
    EXPECT_EQ(Name(format->Process(nullptr, 1, 0, 0, 0, &block, &size)), "E_POINTER");
    EXPECT_EQ(Name(format->Revert(nullptr, 1, 0, &block, &size, &used)), "E_POINTER");
    Tell(format.Get(), {{R}, {X}, {P}});
}

TEST(Admission, ReservedRoomIsIgnored) {
    const auto format = Base64::New();
    EXPECT_EQ(Process(format.Get(), "ABC", true, 16, 16), Process(format.Get(), "ABC", true));
}

// An object that goes with a conversion open frees what it holds (the leak checks see to it) and lets its processor be.
TEST(Admission, AnObjectMayGoInTheMiddleOfAConversion) {
    const auto processor =
        ClientProcessor::New([](const char*, std::string_view, LONG) { return Reply{S_PASSTHROUGH}; });
    ForEachFormat([&]<class Format>() {
        const auto format = Format::New();
        As<typename Format::Native>(format)->putref_SubProcessing(processor->Data());
        EXPECT_EQ(OpenConversion(format.Get()), "S_OK");
        EXPECT_EQ(processor->References(), 2u);
    });
    EXPECT_EQ(processor->References(), 1u);
    EXPECT_EQ(processor->Resets, 0);
}

}  // namespace
}  // namespace talvo::test
