// Objects under many threads. First a call is held at a known place and looked at from outside; then threads are let
// loose on a component, formats that link to each other, and a client's processor: every answer must be one that the
// rules allow, and every value whole. Made for the thread sanitizer.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "tests/support/module/client_processor.h"
#include "tests/support/module/component.h"
#include "tests/support/module/format_classes.h"

#ifdef __SANITIZE_THREAD__
// A Reset takes the locks of a chain from the outermost object inwards. Linked the other way round, the same objects have
// the opposite order; the two never meet, as a chain that leads back is refused, but the sanitizer knows no times.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() { return "deadlock:talvo::EncodingFormatBase::ResetData"; }
#endif

namespace talvo::test {
namespace {

// One thread waits until another raises it, once. std::binary_semaphore would do, but hangs with the library of mingw's
// gcc 12 on 32-bit Windows.
class Signal {
public:
    void Raise() {
        const std::lock_guard hold(lock_);
        raised_ = true;
        changed_.notify_all();
    }
    void Await() {
        std::unique_lock hold(lock_);
        changed_.wait(hold, [this] { return raised_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool raised_ = false;
};

// A call that waits inside its processor, and what its own and all other threads are told meanwhile.
void LookFromOutside(int kind, bool decoding) {
    Signal inside;
    Signal goOn;
    const FormatObject format = NewNamed(kind);
    ITalvoEncodeData* const data = format.Data.Get();
    const auto codes = [&] {
        return Process(data, "A", true).Code + ' ' + Revert(data, "QUJD", true).Code + ' ' + Name(data->Reset()) + ' ' +
               Name(data->put_HeaderFilename(nullptr)) + ' ' + Name(format.Link(nullptr)) + ' ' +
               Name(format.LinkDual(nullptr));
    };
    const std::string refused = "berBusy berBusy berBusy berSessionOpened berSessionOpened berSessionOpened";
    const auto processor = ClientProcessor::New([&](const char*, auto, LONG) {
        EXPECT_EQ(codes(), refused);
        inside.Raise();
        goOn.Await();
        return Reply{S_PASSTHROUGH};
    });
    format.Link(processor->Data());
    format.Number("MaxLineLength").Native.Put(20);
    Converted result;
    std::thread thread([&] {
        const ComThread com;
        result = decoding ? Revert(data, "", false) : Process(data, "", false);
    });
    inside.Await();

    EXPECT_EQ(codes(), refused);
    EXPECT_EQ(Name(format.Number("MaxLineLength").Native.Put(8)), "berSessionOpened");
    EXPECT_EQ(format.Number("MaxLineLength").Dual.Value(), 20);
    com::ComPtr<ITalvoProcessData> linked;
    EXPECT_EQ(Name(format.Linked(linked.Put())), "S_OK");

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

// A processor whose Reset sees to links itself, its own too, while another thread makes some: neither waits for the other.
TEST(Threads, LinksAreMadeWhileAResetMakesOthers) {
    const FormatObject outer = New(kBase64);
    const FormatObject other = New(kHexa);
    Signal inReset;
    com::ComPtr<ClientProcessor> processor = ClientProcessor::Always({S_PASSTHROUGH});
    processor->OnReset = [&] {
        EXPECT_EQ(Name(outer.Link(nullptr)), "S_OK");
        inReset.Raise();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the other one has to wait by now
        other.Link(nullptr);
    };
    outer.Link(processor->Data());
    processor.Reset();
    std::thread thread([&] {
        const ComThread com;
        inReset.Await();
        EXPECT_EQ(Name(outer.Link(other.Data.Get())), "S_OK");
    });
    EXPECT_EQ(Name(outer.Data->Reset()), "S_OK");
    thread.join();
}

// --- Threads let loose

struct Work {
    const char* Name;
    std::function<std::string(unsigned random)> Do;  // the code, or what else is wrong
    std::set<std::string> Allowed;
};

void LetLoose(const std::vector<Work>& works) {
    constexpr unsigned kThreads = 6;
    constexpr auto kTime = std::chrono::milliseconds(700);
    std::atomic<size_t> calls = 0;
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            const ComThread com;
            std::minstd_rand random(number + 1);
            for (const auto end = std::chrono::steady_clock::now() + kTime; std::chrono::steady_clock::now() < end;) {
                const Work& work = works[random() % works.size()];
                const std::string code = work.Do(static_cast<unsigned>(random()));
                ASSERT_TRUE(work.Allowed.contains(code)) << work.Name << ": " << code;
                ++calls;
            }
            SetErrorInfo(0, nullptr);
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::printf("  %u threads, %zu calls\n", kThreads, calls.load());
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

const std::string kNames[] = {"a.txt", "a rather long name, so that a torn one would show.txt"};
const std::string kBinHexOfTwo =
    "(This file must be converted with BinHex 4.0)\n"
    ":!h4hE`\"\"8&\"-3d&56b%!!!!!\"!!!!!Dd5Q4KG''(BR*PFj!!N!#3!-k9:\n";
const std::set<std::string> kGood = {"S_OK"};
const std::set<std::string> kPut = {"S_OK", "berSessionOpened"};
const std::set<std::string> kReset = {"S_OK", "berBusy"};
// All but those of files: words of any direction reach a decoder.
const std::set<std::string> kConverted = {
    "S_OK",
#define RESULT_CODE(name, value, text) ((value)&0xFFFF) <= 0x4007 || ((value)&0xFFFF) >= 0x401A ? #name : "S_OK",
#include "server/results/result_codes.def"
#undef RESULT_CODE
};
// One that fills its header with a name, or has none.
const std::set<std::string> kEncoded = {"S_OK",
                                        "berBusy",
                                        "berSessionOpened",
                                        "berEmptyFileNameInHeader",
                                        "berNoEncodingFormat",
                                        "berInvalidLengthInHeader"};

TEST(Threads, EveryAnswerUnderLoadIsAnAllowedOne) {
    Shelf shelf({kUU, kBase64, kHexa, kQuotedPrintable, kXX, kBinHex});
    const Component component;
    const auto native = component.Native;
    const auto dual = component.Dual;
    native->putref_EncodingFormat(static_cast<ITalvoEncodeData*>(nullptr));
    const auto processor = ClientProcessor::Always({S_PASSTHROUGH});
    const std::string texts[] = {"", "QUJD", "begin 644 " + kNames[1] + "\n", kBinHexOfTwo};
    const auto throughComponent = [&](unsigned r, auto method) {
        Variant source = Variant::Bytes("QUJD");
        Variant result;
        return Name((dual.Get()->*method)(source.Get(), r % 2 ? VARIANT_TRUE : VARIANT_FALSE, result.Put()));
    };
    LetLoose({
        {"Process",
         [&](unsigned r) { return Process(shelf.Take(r).Data.Get(), r / 4 % 2 ? "ABC" : "", r % 5 == 0).Code; },
         kEncoded},
        {"Revert", [&](unsigned r) { return Revert(shelf.Take(r).Data.Get(), texts[r / 4 % 4], r % 5 == 0).Code; },
         kConverted},
        {"Encode", [&](unsigned r) { return throughComponent(r, &DTalvoBinaryEncoding::Encode); }, kEncoded},
        {"Decode", [&](unsigned r) { return throughComponent(r, &DTalvoBinaryEncoding::Decode); }, kConverted},
        {"Reset", [&](unsigned r) { return Name(shelf.Take(r).Data->Reset()); }, kReset},
        {"Reset of the component", [&](unsigned) { return Name(native->Reset()); }, kReset},
        {"put",
         [&](unsigned r) {
             const FormatObject format = shelf.Take(r);
             const Property& property = std::next(format.Numbers.begin(), r / 8 % 3)->second;
             return Name((r / 4 % 2 ? property.Native : property.Dual).Put(1 + r / 32 % 2));
         },
         kPut},
        {"get",
         [&](unsigned r) {
             const FormatObject format = shelf.Take(r);
             return std::next(format.Numbers.begin(), r / 8 % 3)->second.Native.Value() < 0 ? "negative" : "S_OK";
         },
         kGood},
        {"put of the name",
         [&](unsigned r) { return Name(shelf.Take(r).Data->put_HeaderFilename(Bstr(kNames[r / 4 % 2]).Get())); }, kPut},
        {"get of the name",
         [&](unsigned r) {
             const std::string name = FilenameOf(shelf.Take(r).Data.Get());
             return name.starts_with(kNames[1]) ? "" : name;  // behind a format that keeps back the break it ends with
         },
         {"", kNames[0], "two"}},
        {"replace the format",
         [&](unsigned r) {
             const auto format = shelf.Take(r).Data;
             return Name(r / 4 % 2 ? native->putref_EncodingFormat(format.Get())
                                   : dual->putref_EncodingFormat(As<IDispatch>(format).Get()));
         },
         kGood},
        {"get the format", [&](unsigned) { return component.Format(), "S_OK"; }, kGood},
        {"link",
         [&](unsigned r) {
             const FormatObject from = shelf.Take(r);
             const unsigned to = r / 16 % 4;
             return Name(to == 0   ? from.Link(nullptr)
                         : to == 1 ? from.LinkDual(processor.Get())
                                   : from.Link(shelf.Take(r / 4).Data.Get()));
         },
         {"S_OK", "berSessionOpened", "E_INVALIDARG"}},
        {"get the link",
         [&](unsigned r) {
             com::ComPtr<IDispatch> linked;
             return Name(shelf.Take(r).LinkedDual(linked.Put()));
         },
         kGood},
        {"release", [&](unsigned r) { return shelf.Replace(r), "S_OK"; }, kGood},
    });
    // Whatever has been going on: after a Reset each of them converts.
    for (unsigned place = 0; place < Shelf::kPlaces; ++place) {
        const FormatObject format = shelf.Take(place);
        EXPECT_EQ(Name(format.Data->Reset()), "S_OK");
        EXPECT_EQ(Name(format.Link(nullptr)), "S_OK");
        EXPECT_EQ(Name(format.Data->put_HeaderFilename(Bstr(kNames[0]).Get())), "S_OK");
        if (format.FileInformation) {  // or what a text has said
            format.Number("HeaderDataForkLength").Native.Put(3);
            format.Number("HeaderResourceForkLength").Native.Put(0);
        }
        const Converted text = Process(format.Data.Get(), "ABC", true);
        EXPECT_EQ(Revert(format.Data.Get(), text.Bytes, true).Bytes, "ABC") << format.Class;
    }
}

// Whole conversions beside each other on objects of their own that share one processor: right, or refused.
TEST(Threads, WholeConversionsOverASharedProcessor) {
    const FormatObject shared = New(kHexa);
    const FormatObject outers[] = {New(kBase64), New(kBase64), New(kQuotedPrintable)};
    const auto text = [](unsigned which) { return which % 3 < 2 ? "NDE0MjQz" : "414243"; };
    for (const FormatObject& outer : outers) ASSERT_EQ(Name(outer.Link(shared.Data.Get())), "S_OK");
    const auto told = [](const Converted& result, std::string_view bytes) {
        return result.Code != "S_OK" || result.Bytes == bytes ? result.Code : result.Bytes;
    };
    const auto outer = [&](unsigned which) { return outers[which % 3].Data.Get(); };
    LetLoose({
        {"Process", [&](unsigned r) { return told(Process(outer(r), "ABC", true), text(r)); }, kReset},
        {"Revert", [&](unsigned r) { return told(Revert(outer(r), text(r), true), "ABC"); }, kReset},
        {"Process below", [&](unsigned) { return told(Process(shared.Data.Get(), "ABC", true), "414243"); }, kReset},
        {"Reset", [&](unsigned r) { return Name(outer(r)->Reset()); }, kReset},
        {"a loop", [&](unsigned r) { return Name(shared.Link(outer(r))); }, {"E_INVALIDARG", "berSessionOpened"}},
    });
}

}  // namespace
}  // namespace talvo::test
