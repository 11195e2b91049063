// soak [SECONDS]: everything a client does, from several threads, over and over, as fast as it goes. The results must
// stay right, and what the process holds must stay where it is once it has warmed up.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "tests/soak/measure.h"
#include "tests/support/module/client_processor.h"
#include "tests/support/module/file_calls.h"
#include "tests/support/module/format_classes.h"

namespace talvo::test {
namespace {

constexpr unsigned kThreads = 4;
constexpr unsigned kSamples = 20;
constexpr size_t kAllowedKilobytes = 1024;
using Clock = std::chrono::steady_clock;
double g_seconds = 300;
std::atomic<unsigned long long> g_calls = 0;

double Seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

// The lowest of the last third is not above the lowest of the first.
void ExpectFlat(const char* what, const std::vector<Holding>& samples, size_t Holding::*of, size_t allowed) {
    std::vector<size_t> values;
    for (const Holding& sample : samples) values.push_back(sample.*of);
    const auto third = static_cast<ptrdiff_t>(values.size() / 3);
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    std::printf("  %s: first %zu, last %zu, least %zu, most %zu\n", what, values.front(), values.back(), *least, *most);
    EXPECT_LE(*std::min_element(values.end() - third, values.end()),
              *std::min_element(values.begin(), values.begin() + third) + allowed)
        << what;
}

// One thread's client.
class Client {
public:
    explicit Client(unsigned number) : random_(number + 1) { Save(folder_ / "in", Sample(20'000 + number)); }

    void Round() {
        const std::string bytes = Sample(random_() % 3000);
        const FormatObject format = Make(bytes.size());
        const std::string text = Pieces(format, bytes, false);
        Right(Pieces(format, text, true), bytes);
        ThroughComponent(text, bytes);
        Chained(bytes);
        Refused(format);
        Files();
        SetErrorInfo(0, nullptr);
    }

private:
    void Right(const std::string& found, const std::string& expected) {
        ++g_calls;
        if (found != expected) ADD_FAILURE() << "kind " << kind_ << ": a conversion went wrong";
    }
    FormatObject Make(size_t forkLength) {
        kind_ = static_cast<int>(random_() % kFormatCount);
        FormatObject format = NewNamed(kind_);
        if (format.FileInformation) format.Number("HeaderDataForkLength").Native.Put(static_cast<int64_t>(forkLength));
        for (const auto& [name, property] : format.Numbers) property.Dual.Value();
        FilenameOf(format.Data.Get());
        g_calls += 6 + format.Numbers.size();
        return format;
    }
    std::string Pieces(const FormatObject& format, std::string_view input, bool decode) {
        std::string output;
        for (size_t at = 0, size = 0; at <= input.size(); at += size, ++g_calls) {
            size = 1 + random_() % 700;
            const std::string_view piece = input.substr(at, size);
            const bool end = at + size > input.size();
            output += (decode ? Revert(format.Data.Get(), piece, end) : Process(format.Data.Get(), piece, end)).Bytes;
        }
        return output;
    }
    void ThroughComponent(const std::string& text, const std::string& bytes) {
        const Component component;
        component.Native->putref_EncodingFormat(New(kind_).Data.Get());
        Variant source = Variant::Bytes(text);
        Variant result;
        component.Dual->Decode(source.Get(), VARIANT_TRUE, result.Put());
        Right(result.Show(), bytes.empty() ? "(empty)" : "bytes " + bytes);
        const Outcome late = CallMethod(component.Dual.Get(), "Decode", {source, Variant::Bool(true)});
        Right(late.Result.Show(), result.Show());
        component.Dual->Encode(source.Get(), VARIANT_FALSE, result.Put());  // left open: the component's end resets it
        g_calls += 5;
    }
    void Chained(const std::string& bytes) {
        const FormatObject outer = New(kBase64);
        const FormatObject middle = New(kQuotedPrintable);
        const FormatObject inner = New(kHexa);
        const auto processor = ClientProcessor::Always({S_PASSTHROUGH});
        outer.Link(middle.Data.Get());
        middle.LinkDual(As<IDispatch>(inner.Data).Get());
        inner.LinkDual(processor.Get());
        inner.Link(outer.Data.Get());  // refused
        Right(Pieces(outer, Pieces(outer, bytes, false), true), bytes);
        Process(outer.Data.Get(), "left open", false);
        outer.Data->Reset();
        g_calls += 9;
    }
    void Refused(const FormatObject& format) {
        Revert(format.Data.Get(), "\1*", true);
        Process(format.Data.Get(), "x", false);
        format.Number("MaxLineLength").Dual.Put(20);
        format.Data->put_HeaderFilename(nullptr);
        format.Link(nullptr);
        g_calls += 5;
    }
    void Files() {
        const Component component;
        component.Native->putref_EncodingFormat(New(static_cast<int>(random_() % 4)).Data.Get());
        const std::string folder = folder_.Text();
        const auto call = [&](Method method, const FileCall& how, Form form = Form::Native) {
            return CallFileMethod(component, method, how, form);
        };
        call(Method::Process, {.Source = folder + "/in", .Destination = folder + "/text"});
        call(Method::Process, {.Source = folder + "/text", .Destination = folder + "/out", .Action = bfpDecode},
             Form::Dual);
        Right(Load(folder_ / "out"), Load(folder_ / "in"));
        const FileCall decode = {.Source = folder + "/text", .Action = bfpDecode};
        Right(call(Method::Read, decode).Data, Load(folder_ / "in"));
        call(Method::Read, {.Source = folder + "/none"});
        g_calls += 5;
    }

    std::minstd_rand random_;
    const TempFolder folder_;
    int kind_ = 0;
};

// What is measured is there: memory of both kinds, and handles.
TEST(Soak, TheMeasureSeesWhatIsHeld) {
    const FormatObject warm = New(kUU);
    const Holding before = Measure();
    Holding with = {};
    {
        std::vector<com::UniqueBstr> texts;
        std::vector<FormatObject> formats;
        std::vector<com::UniqueFile> files;
        for (int i = 0; i < 1000; ++i) {
            texts.push_back(Bstr(std::string(500, 'x')));  // a KB each
            formats.push_back(New(kUU));
            if (i < 20)
                files.emplace_back(CreateFileA(Module::Get().Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                               OPEN_EXISTING, 0, nullptr));
        }
        with = Measure();
    }
    const Holding after = Measure();
    std::printf(
        "  %zu KB, %zu handles; with 1000 texts of 1 KB, 1000 objects and 20 files %zu KB, %zu handles; then %zu KB, "
        "%zu handles\n",
        before.Kilobytes, before.Handles, with.Kilobytes, with.Handles, after.Kilobytes, after.Handles);
    EXPECT_GE(with.Kilobytes, before.Kilobytes + 1100);
    EXPECT_LE(after.Kilobytes, before.Kilobytes + 200);
    EXPECT_EQ(with.Handles, before.Handles + 20);
    EXPECT_EQ(after.Handles, before.Handles);
}

TEST(Soak, HoldsWhatItHeld) {
    std::atomic<bool> stop = false;
    std::atomic<bool> pause = false;  // while it is measured, between two rounds of every client
    std::atomic<unsigned> idle = 0;
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            const ComThread com;
            Client client(number);
            while (!stop && !HasFailure()) {
                client.Round();
                if (!pause) continue;
                ++idle;
                while (pause) std::this_thread::sleep_for(std::chrono::milliseconds(1));
                --idle;
            }
            ++idle;
        });
    }
    std::vector<Holding> samples;
    const auto start = Clock::now();
    for (unsigned sample = 1; sample <= kSamples; ++sample) {
        std::this_thread::sleep_until(start + std::chrono::duration<double>(g_seconds * sample / kSamples));
        pause = true;
        while (idle != kThreads) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        samples.push_back(Measure());
        pause = false;
        std::printf("  %5.0f s  %12llu calls  %8zu KB  %5zu handles\n", Seconds(start), g_calls.load(),
                    samples.back().Kilobytes, samples.back().Handles);
        std::fflush(stdout);
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();

    samples.erase(samples.begin(), samples.begin() + kSamples / 4);  // the warming up
    std::printf("  %llu calls in %.0f s; once warm:\n", g_calls.load(), Seconds(start));
    ExpectFlat("KB", samples, &Holding::Kilobytes, kAllowedKilobytes);
    ExpectFlat("handles", samples, &Holding::Handles, 0);
}

}  // namespace
}  // namespace talvo::test

int main(int argc, char** argv) {
    using talvo::test::Module;
    testing::InitGoogleTest(&argc, argv);
    if (argc > 1) talvo::test::g_seconds = std::atof(argv[1]);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (!Module::Get().Start()) return 2;
    const int result = RUN_ALL_TESTS();
    const bool stopped = Module::Get().Stop();
    CoUninitialize();
    return stopped ? result : 3;
}
