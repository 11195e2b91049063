// soak [SECONDS]: everything a client does, from several threads, over and over, as fast as it goes. The results must
// stay right, and what the process holds must stay where it is once it has warmed up.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
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

// One thread's client. What it asks again and again differs in format, size and cuts.
class Client {
public:
    explicit Client(unsigned seed) : random_(seed) { Save(folder_ / "in", Sample(20'000 + seed)); }

    void Round() {
        const int kind = static_cast<int>(random_() % kFormatCount);
        const std::string bytes = Sample(random_() % 3000);
        const FormatObject format = NewNamed(kind);
        if (format.FileInformation)
            format.Number("HeaderDataForkLength").Native.Put(static_cast<int64_t>(bytes.size()));
        for (const auto& [name, property] : format.Numbers) property.Dual.Value();
        FilenameOf(format.Data.Get());
        const std::string text = Pieces(format, bytes, false);
        EXPECT_EQ(Pieces(format, text, true), bytes) << format.Class;
        ThroughComponent(kind, text, bytes);
        Chained(format, bytes);
        Files();
        SetErrorInfo(0, nullptr);
    }

private:
    std::string Pieces(const FormatObject& format, std::string_view input, bool decode) {
        std::string output;
        for (size_t at = 0, size = 0; at <= input.size(); at += size) {
            size = 1 + random_() % 700;
            const std::string_view piece = input.substr(at, size);
            const bool end = at + size > input.size();
            output += (decode ? Revert(format.Data.Get(), piece, end) : Process(format.Data.Get(), piece, end)).Bytes;
        }
        return output;
    }
    static void ThroughComponent(int kind, const std::string& text, const std::string& bytes) {
        const Component component;
        component.Native->putref_EncodingFormat(New(kind).Data.Get());
        EXPECT_EQ(Convert(component, Form::Dual, true, text, true).Bytes, bytes);
        CallMethod(component.Dual.Get(), "Encode", {Variant::Bytes(text), Variant::Truth(false)});  // its end resets it
    }
    void Chained(const FormatObject& inner, const std::string& bytes) {
        const FormatObject outer = New(kBase64);
        const auto processor = ClientProcessor::Always({S_PASSTHROUGH});
        outer.LinkDual(As<IDispatch>(inner.Data).Get());
        inner.LinkDual(processor.Get());
        inner.Link(outer.Data.Get());  // refused
        EXPECT_EQ(Pieces(outer, Pieces(outer, bytes, false), true), bytes);
        Process(outer.Data.Get(), "left open", false);
        outer.Data->Reset();
        Revert(inner.Data.Get(), "\1*", true);
        Process(inner.Data.Get(), "x", false);
        inner.Number("MaxLineLength").Dual.Put(20);
    }
    void Files() {
        const Component component;
        component.Native->putref_EncodingFormat(New(static_cast<int>(random_() % 4)).Data.Get());
        const std::string in = folder_.Text() + "/in", text = folder_.Text() + "/text";
        CallFileMethod(component, Method::Process, {.Source = in, .Destination = text}, Form::Dual);
        EXPECT_EQ(CallFileMethod(component, Method::Read, {.Source = text, .Action = bfpDecode}).Data, Load(in));
        CallFileMethod(component, Method::Read, {.Source = folder_.Text() + "/none"});
    }

    std::minstd_rand random_;
    const TempFolder folder_;
};

// The lowest of the last third is not above the lowest of the first.
void ExpectFlat(const char* what, const std::vector<Holding>& samples, size_t Holding::*of, size_t allowed) {
    const std::span all(samples);
    const size_t first = std::ranges::min(all.first(all.size() / 3), {}, of).*of;
    EXPECT_LE(std::ranges::min(all.last(all.size() / 3), {}, of).*of, first + allowed) << what;
}

TEST(Soak, HoldsWhatItHeld) {
    std::vector<Holding> samples;
    const auto start = Clock::now();
    for (unsigned sample = 1; sample <= kSamples && !HasFailure(); ++sample) {
        const auto end = start + std::chrono::duration<double>(g_seconds * sample / kSamples);
        std::vector<std::thread> threads;
        for (unsigned number = 1; number <= kThreads; ++number) {
            threads.emplace_back([=] {
                const ComThread com;
                Client client(sample * kThreads + number);
                while (Clock::now() < end && !HasFailure()) client.Round();
            });
        }
        for (std::thread& thread : threads) thread.join();
        samples.push_back(Measure());
        std::printf("  %2u of %u  %8zu KB  %5zu handles\n", sample, kSamples, samples.back().Kilobytes,
                    samples.back().Handles);
        std::fflush(stdout);
    }
    samples.erase(samples.begin(), samples.begin() + static_cast<ptrdiff_t>(samples.size() / 4));  // the warming up
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
