// Objects under many threads. First a call is held at a known place and looked at from outside; then threads are let
// loose on a component, formats that link to each other, and a client's processor: every answer must be one that the
// rules allow, and every value whole. Made for the thread sanitizer.
#include <chrono>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "tests/component/variants.h"
#include "tests/formats/client_processor.h"
#include "tests/formats/format_classes.h"
#include "tests/support/signal.h"

namespace talvo::test {
namespace {

// A call that waits inside its processor, and what all other threads are told meanwhile.
void LookFromOutside(int kind, bool decoding) {
    Signal inside;
    Signal goOn;
    const auto processor = ClientProcessor::New([&](const char*, auto, LONG) {
        inside.Raise();
        goOn.Await();
        return Reply{S_PASSTHROUGH};
    });
    const FormatObject format = NewNamed(kind);
    const FormatObject outer = NewNamed(kind);
    format.Link(processor->Data());
    outer.Link(format.Data.Get());
    format.Number("MaxLineLength").Native.Put(20);
    ITalvoEncodeData* const data = format.Data.Get();
    Converted result;
    std::thread thread([&] {
        const ComThread com;
        result = decoding ? Revert(data, "", false) : Process(data, "", false);
    });
    inside.Await();

    EXPECT_EQ(Process(data, "A", true).Code, "berBusy");
    EXPECT_EQ(Revert(data, "QUJD", true).Code, "berBusy");
    EXPECT_EQ(Name(data->Reset()), "berBusy");
    for (const auto& [name, property] : format.Numbers) {
        EXPECT_EQ(Name(property.Native.Put(8)), "berSessionOpened") << name;
        EXPECT_EQ(Name(property.Dual.Put(8)), "berSessionOpened") << name;
    }
    EXPECT_EQ(format.Number("MaxLineLength").Dual.Value(), 20);
    EXPECT_EQ(Name(data->put_HeaderFilename(nullptr)), "berSessionOpened");
    EXPECT_EQ(Name(format.Link(nullptr)), "berSessionOpened");
    EXPECT_EQ(Name(format.LinkDual(nullptr)), "berSessionOpened");
    FilenameOf(data);
    com::ComPtr<ITalvoProcessData> linked;
    EXPECT_EQ(Name(format.Linked(linked.Put())), "S_OK");
    EXPECT_TRUE(linked);

    // One that has the busy object for its processor: told so, and free again.
    EXPECT_EQ(Process(outer.Data.Get(), "A", false).Code, "berBusy");
    EXPECT_EQ(Revert(outer.Data.Get(), "", false).Code, "berBusy");
    EXPECT_EQ(Name(outer.Data->Reset()), "S_OK");
    EXPECT_EQ(Name(outer.Link(nullptr)), "S_OK");

    goOn.Raise();
    thread.join();
    EXPECT_EQ(result.Code, "S_OK");
    EXPECT_EQ(Name(data->Reset()), "S_OK");
    EXPECT_EQ(Name(data->put_HeaderFilename(nullptr)), "S_OK");
}

TEST(Threads, ARunningCallKeepsAllOthersOut) {
    for (int kind = 0; kind < kFormatCount; ++kind) {
        for (const bool decoding : {false, true}) LookFromOutside(kind, decoding);
    }
}

// A processor whose Reset sees to links itself, while another thread makes some: neither waits for the other.
TEST(Threads, LinksAreMadeWhileAResetMakesOthers) {
    const FormatObject outer = New(kBase64);
    const FormatObject other = New(kHexa);
    Signal inReset;
    const auto processor = ClientProcessor::New([&](std::string_view operation, auto, LONG) {
        if (operation == "Reset") {
            inReset.Raise();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the other one has to wait by now
            other.Link(nullptr);
        }
        return Reply{S_PASSTHROUGH};
    });
    outer.Link(processor->Data());
    std::thread thread([&] {
        const ComThread com;
        inReset.Await();
        EXPECT_EQ(Name(outer.Link(other.Data.Get())), "S_OK");
    });
    EXPECT_EQ(Name(outer.Data->Reset()), "S_OK");
    thread.join();
}

// A name is read whole or empty while decodings clear it and read another.
TEST(Threads, NamesAreNeverTornWhileDecodingsReplaceThem) {
    constexpr std::string_view kSet = "a rather long name, so that a torn one would show.txt";
    const struct {
        int Kind;
        std::string Decoded, Text;
    } rows[] = {{kUU, "what the text says, of another length", "begin 644 what the text says, of another length\n`"},
                {kBinHex, "two",
                 "(This file must be converted with BinHex 4.0)\n"
                 ":!h4hE`\"\"8&\"-3d&56b%!!!!!\"!!!!!Dd5Q4KG''(BR*PFj!!N!#3!-k9:\n"}};
    for (const auto& row : rows) {
        const FormatObject format = New(row.Kind);
        std::atomic<bool> stop = false;
        std::thread reader([&] {
            const ComThread com;
            while (!stop) {
                const std::string name = FilenameOf(format.Data.Get());
                ASSERT_TRUE(name.empty() || name == kSet || name == row.Decoded) << name;
            }
        });
        for (int i = 0; i < 2000; ++i) {
            EXPECT_EQ(format.Data->put_HeaderFilename(Bstr(kSet).Get()), S_OK);
            EXPECT_EQ(Revert(format.Data.Get(), row.Text, false).Code, "S_OK");
            EXPECT_EQ(Name(format.Data->Reset()), "S_OK");
        }
        stop = true;
        reader.join();
    }
}

// --- Threads let loose

using Random = std::minstd_rand;
struct Work {
    const char* Name;
    std::function<std::string(unsigned random)> Do;  // the code, or what else is wrong
    std::set<std::string> Allowed;
};

void LetLoose(const std::vector<Work>& works) {
    constexpr unsigned kThreads = 6;
    constexpr auto kTime = std::chrono::milliseconds(700);
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < kThreads; ++number) {
        threads.emplace_back([&works, number, kTime] {
            const ComThread com;
            Random random(number + 1);
            for (const auto end = std::chrono::steady_clock::now() + kTime; std::chrono::steady_clock::now() < end;) {
                const Work& work = works[random() % works.size()];
                const std::string code = work.Do(static_cast<unsigned>(random()));
                ASSERT_TRUE(work.Allowed.contains(code)) << work.Name << ": " << code;
            }
            SetErrorInfo(0, nullptr);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// Formats that any thread may take, use and replace; one goes when its last user lets go.
class Shelf {
public:
    static constexpr unsigned kPlaces = 4;
    explicit Shelf(const std::vector<int>& kinds) : kinds_(kinds) {
        for (unsigned place = 0; place < kPlaces; ++place) Replace(place);
    }
    FormatObject Take(unsigned place) {
        const std::lock_guard hold(lock_);
        return formats_[place % kPlaces];
    }
    void Replace(unsigned place) {
        FormatObject made = NewNamed(kinds_[place % kinds_.size()]);
        const std::lock_guard hold(lock_);
        std::swap(formats_[place % kPlaces], made);
    }

private:
    std::mutex lock_;
    std::vector<int> kinds_;
    FormatObject formats_[kPlaces];
};

constexpr const char* kNames[] = {"a.txt", "a rather long name, so that a torn one would show.txt"};
const std::set<std::string> kPut = {"S_OK", "berSessionOpened"};
const std::set<std::string> kReset = {"S_OK", "berBusy"};
const std::set<std::string> kGood = {"S_OK"};

TEST(Threads, EveryAnswerUnderLoadIsAnAllowedOne) {
    Shelf shelf({kUU, kBase64, kHexa, kQuotedPrintable, kXX, kBinHex});
    const auto native = Create<ITalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
    const auto dual = As<DTalvoBinaryEncoding>(native);
    native->putref_EncodingFormat(static_cast<ITalvoEncodeData*>(nullptr));
    const auto processor = ClientProcessor::Always({S_PASSTHROUGH});
    // Words of any direction reach a decoder, and a file's name is gone when a header was read.
    const std::set<std::string> encoded = {"S_OK",
                                           "berBusy",
                                           "berSessionOpened",
                                           "berEmptyFileNameInHeader",
                                           "berNoEncodingFormat",
                                           "berInvalidLengthInHeader"};
    std::set<std::string> decoded = encoded;
#define RESULT_CODE(name, value, text) \
    if ((value & 0xFFFF) <= 0x4007) decoded.insert(#name);
#include "server/results/result_codes.def"
#undef RESULT_CODE
    const auto convert = [&](unsigned r, bool decode) {
        const FormatObject format = shelf.Take(r / 8);
        return decode ? Revert(format.Data.Get(), r % 2 ? "QUJD" : "", r % 4 == 0).Code
                      : Process(format.Data.Get(), r % 2 ? "ABC" : "", r % 4 == 0).Code;
    };
    const auto throughComponent = [&](unsigned r, auto method) {
        Variant source = Variant::Bytes("QUJD");
        Variant result;
        return Name((dual.Get()->*method)(source.Get(), r % 2 ? VARIANT_TRUE : VARIANT_FALSE, result.Put()));
    };
    LetLoose({
        {"Process", [&](unsigned r) { return convert(r, false); }, encoded},
        {"Revert", [&](unsigned r) { return convert(r, true); }, decoded},
        {"Encode", [&](unsigned r) { return throughComponent(r, &DTalvoBinaryEncoding::Encode); }, encoded},
        {"Decode", [&](unsigned r) { return throughComponent(r, &DTalvoBinaryEncoding::Decode); }, decoded},
        {"Reset", [&](unsigned r) { return Name(shelf.Take(r).Data->Reset()); }, kReset},
        {"Reset of the component", [&](unsigned) { return Name(native->Reset()); }, kReset},
        {"put",
         [&](unsigned r) {
             const FormatObject format = shelf.Take(r);
             const auto property = std::next(format.Numbers.begin(), r / 8 % 3);
             return Name((r / 4 % 2 ? property->second.Native : property->second.Dual).Put(1 + r / 32 % 2));
         },
         kPut},
        {"get",
         [&](unsigned r) -> std::string {
             const FormatObject format = shelf.Take(r);
             for (const auto& [name, property] : format.Numbers) {
                 if (property.Native.Value() < 0) return name;
             }
             return "S_OK";
         },
         kGood},
        {"put of the name",
         [&](unsigned r) { return Name(shelf.Take(r).Data->put_HeaderFilename(Bstr(kNames[r / 4 % 2]).Get())); }, kPut},
        {"get of the name",
         [&](unsigned r) {
             const std::string name = FilenameOf(shelf.Take(r).Data.Get());
             return name.empty() || name == kNames[0] || name == kNames[1] ? "S_OK" : name;
         },
         kGood},
        {"replace the format",
         [&](unsigned r) {
             const FormatObject format = shelf.Take(r);
             return Name(r / 4 % 2 ? native->putref_EncodingFormat(format.Data.Get())
                                   : dual->putref_EncodingFormat(As<IDispatch>(format.Data).Get()));
         },
         kGood},
        {"get the format",
         [&](unsigned) {
             com::ComPtr<ITalvoEncodeData> format;
             return Name(native->get_EncodingFormat(format.Put()));
         },
         kGood},
        {"link",
         [&](unsigned r) {
             const FormatObject from = shelf.Take(r);
             const FormatObject to = shelf.Take(r / 4);
             return Name(r / 16 % 4 == 0   ? from.Link(nullptr)
                         : r / 16 % 4 == 1 ? from.LinkDual(processor.Get())
                                           : from.Link(to.Data.Get()));
         },
         {"S_OK", "berSessionOpened", "E_INVALIDARG"}},
        {"get the link",
         [&](unsigned r) {
             com::ComPtr<IDispatch> linked;
             return Name(shelf.Take(r).LinkedDual(linked.Put()));
         },
         kGood},
        {"release",
         [&](unsigned r) {
             shelf.Replace(r);
             return "S_OK";
         },
         kGood},
    });
    // Whatever has been going on: after a Reset each of them converts.
    for (unsigned place = 0; place < Shelf::kPlaces; ++place) {
        const FormatObject format = shelf.Take(place);
        EXPECT_EQ(Name(format.Data->Reset()), "S_OK");
        EXPECT_EQ(Name(format.Link(nullptr)), "S_OK");
        EXPECT_EQ(Name(format.Data->put_HeaderFilename(Bstr(kNames[0]).Get())), "S_OK");
        if (format.FileInformation) format.Number("HeaderDataForkLength").Native.Put(3);
        const Converted text = Process(format.Data.Get(), "ABC", true);
        EXPECT_EQ(Revert(format.Data.Get(), text.Bytes, true).Bytes, "ABC") << format.Class;
    }
}

// Whole conversions beside each other on objects of their own that share one processor: right, or refused.
TEST(Threads, WholeConversionsOverASharedProcessor) {
    const FormatObject shared = New(kHexa);
    const FormatObject outers[] = {New(kBase64), New(kBase64), New(kQuotedPrintable)};
    const auto expected = [](unsigned which) { return which < 2 ? "NDE0MjQz" : "414243"; };
    for (const FormatObject& outer : outers) ASSERT_EQ(Name(outer.Link(shared.Data.Get())), "S_OK");
    const std::set<std::string> allowed = {"S_OK", "berBusy"};
    const auto told = [](const Converted& result, std::string_view bytes) {
        return result.Code != "S_OK" || result.Bytes == bytes ? result.Code : result.Bytes;
    };
    LetLoose({
        {"Process", [&](unsigned r) { return told(Process(outers[r % 3].Data.Get(), "ABC", true), expected(r % 3)); },
         allowed},
        {"Revert", [&](unsigned r) { return told(Revert(outers[r % 3].Data.Get(), expected(r % 3), true), "ABC"); },
         allowed},
        {"Process below", [&](unsigned) { return told(Process(shared.Data.Get(), "ABC", true), "414243"); }, allowed},
        {"Reset", [&](unsigned r) { return Name(outers[r % 3].Data->Reset()); }, allowed},
        {"a loop",
         [&](unsigned r) { return Name(shared.Link(outers[r % 3].Data.Get())); },
         {"E_INVALIDARG", "berSessionOpened"}},
    });
}

}  // namespace
}  // namespace talvo::test
