// A set of stories, each told again and again with its first, second, ... allocation, file call or call of a client's
// processor failing. Afterwards: the failure was reported, output so far is the beginning of the right one, nothing has
// leaked, no file is open, and after a Reset the same objects tell the whole story.
#include <array>

#include "tests/component/file_calls.h"
#include "tests/formats/client_processor.h"
#include "tests/formats/format_classes.h"
#include "tests/support/allocation_faults.h"
#ifdef TALVO_FILE_FAULTS
#include "tests/component/native/file_faults.h"
#endif

namespace talvo::test {
namespace {

#ifndef TALVO_FILE_FAULTS
unsigned FailFileCall(unsigned n, DWORD, bool) { return n; }
const char* FailedFileCall() { return ""; }
#endif

const std::string kBytes = "Any bytes will do; " + Sample(170) + " \r\nand a \"line\" = more.\r\n";

const auto kForkLength = static_cast<int64_t>(kBytes.size());  // BinHex stands innermost

// The n-th call of the client's processor fails so.
size_t g_processorCallsLeft = 0;
HRESULT g_processorCode = S_OK;
bool g_processorStruck = false;

// What one telling has come to: the code of the call that failed, and all output.
struct Told {
    HRESULT Code = S_OK;
    std::string Bytes = {};
    bool operator==(const Told&) const = default;
};

// The call that may fail; the story around it may not.
template <class Call>
HRESULT Try(Call call) {
    const FaultsHere here;
    return call();
}

enum class Road { Direct, Native, Dual };

// The actors, made in peace: a chain of formats, the outermost in a component, at its end perhaps a client's processor.
struct Stage {
    std::vector<FormatObject> Formats;
    Component Through;

    Stage(const std::vector<int>& kinds, bool processor) {
        for (const int kind : kinds) {
            Formats.push_back(NewNamed(kind));
            if (Formats.size() > 1) Formats[Formats.size() - 2].Link(Formats.back().Data.Get());
        }
        Through.Native->putref_EncodingFormat(Formats[0].Data.Get());
        if (processor) Formats.back().Link(NewProcessor()->Data());
    }
    // Turns every byte over and back.
    static com::ComPtr<ClientProcessor> NewProcessor() {
        return ClientProcessor::New([](const char*, std::string_view source, LONG) {
            if (g_processorCallsLeft != 0 && --g_processorCallsLeft == 0) {
                g_processorStruck = true;
                return Reply{g_processorCode, "half-done"};
            }
            std::string turned(source);
            for (char& byte : turned) byte = static_cast<char>(~byte);
            return Reply{S_OK, turned};
        });
    }
};

HRESULT Convert(const Stage& stage, Road road, bool decode, std::string_view piece, bool end, std::string& output) {
    const auto source = reinterpret_cast<const BYTE*>(piece.data());
    const auto size = static_cast<DWORD>(piece.size());
    if (road == Road::Dual) {
        Variant bytes = Variant::Bytes(piece);
        Variant result;
        const auto method = decode ? &DTalvoBinaryEncoding::Decode : &DTalvoBinaryEncoding::Encode;
        const HRESULT hr = Try([&] {
            return (stage.Through.Dual.Get()->*method)(bytes.Get(), end ? VARIANT_TRUE : VARIANT_FALSE, result.Put());
        });
        EXPECT_EQ(V_ARRAY(bytes.Get())->cLocks, 0u);
        if (V_VT(result.Get()) != VT_EMPTY) output += result.Show().substr(6);
        return hr;
    }
    ITalvoEncodeData* const format = stage.Formats[0].Data.Get();
    BYTE* block = nullptr;
    DWORD written = 0;
    DWORD used = 0;
    const auto method = decode ? &ITalvoBinaryEncoding::Decode : &ITalvoBinaryEncoding::Encode;
    const HRESULT hr = Try([&] {
        return road == Road::Native ? (stage.Through.Native.Get()->*method)(source, size, end, &block, &written)
               : decode             ? format->Revert(source, size, end, &block, &written, &used)
                                    : format->Process(source, size, end, 0, 0, &block, &written);
    });
    EXPECT_TRUE(SUCCEEDED(hr) || !block) << "output came with an error";
    output += TakeBlock(block, written);
    return hr;
}

// In four pieces, until one fails.
Told ConvertAll(const Stage& stage, Road road, bool decode, std::string_view input) {
    Told told;
    const size_t piece = input.size() / 3 + 1;
    for (size_t from = 0; SUCCEEDED(told.Code) && from <= input.size(); from += piece)
        told.Code = Convert(stage, road, decode, input.substr(from, piece), from + piece > input.size(), told.Bytes);
    return told;
}

struct Story {
    std::string Name;
    std::vector<int> Kinds;
    bool Processor;
    std::function<Told(const Stage&)> Tell;
};

// --- Faults

struct Source {
    const char* Name;
    std::function<void(AllocationFaults&, size_t n)> Arm;
    std::function<bool(const AllocationFaults&)> Struck;
    std::set<std::string> Codes;  // that a failing call may answer
};

const std::set<std::string> kFileCodes = {"berOpenFileForReading", "berOpenFileForWriting", "berReadFile",
                                          "berWriteFile", "berInvalidFileOffset"};

std::vector<Source> Sources() {
    std::vector<Source> sources;
    std::set<std::string> memory = kFileCodes;  // a file call that finds no memory
    memory.insert("E_OUTOFMEMORY");
    const auto struck = [](const AllocationFaults& faults) { return faults.Struck() != 0; };
    for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New}) {
        for (const bool andAllLater : {false, true}) {
            const char* const name = kind == FaultKind::New ? "operator new" : "task memory";
            sources.push_back({name, [=](AllocationFaults& faults, size_t n) { faults.FailNth(n, andAllLater, kind); },
                               struck, memory});
        }
    }
    for (const bool half : {false, true}) {
        sources.push_back({half ? "half of a transfer" : "file call",
                           [=](AllocationFaults&, size_t n) {
                               FailFileCall(static_cast<unsigned>(n), half ? ERROR_SUCCESS : ERROR_IO_DEVICE, half);
                           },
                           [](const AllocationFaults&) { return *FailedFileCall() != 0; }, kFileCodes});
    }
    for (const HRESULT code : {E_FAIL, static_cast<HRESULT>(berBusy)}) {
        sources.push_back({"processor",
                           [=](AllocationFaults&, size_t n) {
                               g_processorCallsLeft = n;
                               g_processorCode = code;
                               g_processorStruck = false;
                           },
                           [](const AllocationFaults&) { return g_processorStruck; },
                           {Name(code)}});
    }
    return sources;
}

class Faults : public FileMethods {
protected:
    void Tell(const Story& story) {
        SCOPED_TRACE(story.Name);
        AllocationFaults faults;
        const FaultPause pause;
        const auto tell = [&](const Stage& stage) {
            Told told = story.Tell(stage);
            SetErrorInfo(0, nullptr);
            return told;
        };
        const Told right = tell(Stage(story.Kinds, story.Processor));  // what is loaded once is loaded now
        ASSERT_TRUE(SUCCEEDED(right.Code)) << Name(right.Code);
        ++stories_;
        const size_t live = faults.Live();
        for (const Source& source : Sources()) {
            bool struck = true;
            for (size_t n = 1; struck && !HasFailure(); ++n) {
                SCOPED_TRACE(testing::Message() << source.Name << ", number " << n);
                {
                    const Stage stage(story.Kinds, story.Processor);
                    source.Arm(faults, n);
                    const Told told = tell(stage);
                    struck = source.Struck(faults);
                    faults.Disarm();
                    FailFileCall(0, 0, false);
                    g_processorCallsLeft = 0;
                    failures_ += struck;
                    if (SUCCEEDED(told.Code)) {
                        EXPECT_EQ(told, right);  // a block that cannot shrink is handed out as it is
                    } else {
                        EXPECT_TRUE(struck && source.Codes.contains(Name(told.Code))) << Name(told.Code);
                        EXPECT_TRUE(right.Bytes.starts_with(told.Bytes)) << testing::PrintToString(told.Bytes);
                    }
                    EXPECT_EQ(Name(stage.Through.Native->Reset()), "S_OK");
                    EXPECT_EQ(tell(stage), right) << "told again";
                }
                SetErrorInfo(0, nullptr);
                EXPECT_EQ(faults.Live(), live) << "task memory leaked";
                ExpectNothingOpen();
            }
        }
    }
    void TearDown() override { std::printf("  %zu stories, %zu failures\n", stories_, failures_); }

private:
    size_t stories_ = 0;
    size_t failures_ = 0;
};

TEST_F(Faults, OfConversions) {
    const struct {
        const char* Name;
        std::vector<int> Kinds;  // the outermost first
        Road Through;
        bool Processor;
    } rows[] = {
        {"UU", {kUU}, Road::Direct, false},
        {"XX", {kXX}, Road::Native, false},
        {"Base64", {kBase64}, Road::Dual, false},
        {"hexadecimal", {kHexa}, Road::Dual, false},
        {"BinHex", {kBinHex}, Road::Native, false},
        {"quoted-printable", {kQuotedPrintable}, Road::Direct, false},
        {"UU of Base64", {kUU, kBase64}, Road::Native, false},
        {"Base64 of a client's", {kBase64}, Road::Direct, true},
        {"quoted-printable of XX of hexadecimal of a client's", {kQuotedPrintable, kXX, kHexa}, Road::Dual, true},
        {"UU of BinHex of a client's", {kUU, kBinHex}, Road::Native, true},
    };
    for (const auto& row : rows) {
        const auto convert = [&](bool decode, const std::string& input) {
            return [&row, decode, input](const Stage& stage) {
                // A decoding takes its name from the text.
                for (const FormatObject& format : stage.Formats) {
                    const com::UniqueBstr name = Bstr("a.txt");
                    const HRESULT hr = Try([&] { return format.Data->put_HeaderFilename(name.Get()); });
                    if (FAILED(hr)) return Told{hr};
                    if (format.FileInformation) format.Number("HeaderDataForkLength").Native.Put(kForkLength);
                }
                return ConvertAll(stage, row.Through, decode, input);
            };
        };
        const Story encode = {row.Name, row.Kinds, row.Processor, convert(false, kBytes)};
        const Told text = encode.Tell(Stage(row.Kinds, row.Processor));
        Tell(encode);
        Tell({std::string("back from ") + row.Name, row.Kinds, row.Processor, convert(true, text.Bytes)});
    }
}

TEST_F(Faults, OfFileMethods) {
    Save("in", Sample(131072 + 99));  // two slices
    const std::vector<int> kinds = {kUU, kBase64};
    const Stage stage(kinds, true);
    ASSERT_EQ(CallFileMethod(stage.Through, Method::Process, {.Destination = "text"}).Line.substr(0, 4), "S_OK");
    // The output is what lies in the file, also of a call that failed.
    const auto process = [](FileCall call, const char* output) {
        return [=](const Stage& on) {
            std::error_code none;
            fs::remove(output, none);
            const com::UniqueBstr source = Bstr(call.Source);
            const com::UniqueBstr destination = Bstr(call.Destination);
            DWORD read = 0;
            DWORD written = 0;
            const HRESULT hr = Try([&] {
                return on.Through.Native->ProcessFile(source.Get(), 0, 0, static_cast<ETBFileProcessing>(call.Action),
                                                      1, destination.Get(), 0, &read, &written);
            });
            return Told{hr, Load(output)};
        };
    };
    Tell({"ProcessFile", kinds, true, process({}, "out")});
    Tell({"ProcessFile into a folder", kinds, true,
          process({.Source = "text", .Destination = "folder\\", .Action = bfpDecode}, "folder/a.txt")});
    Tell({"ReadFile", kinds, true, [](const Stage& on) {
              const com::UniqueBstr source = Bstr("text");
              Variant read;
              Variant result;
              const HRESULT hr = Try([&] {
                  return on.Through.Dual->ReadFile(source.Get(), 0, 0, bfpDecode, VARIANT_TRUE, read.Put(),
                                                   result.Put());
              });
              return Told{hr, result.Show() == "(empty)" ? "" : result.Show().substr(6)};
          }});
    Tell({"WriteFile", kinds, true, [text = Load("text")](const Stage& on) {
              std::error_code none;
              fs::remove("back", none);
              const com::UniqueBstr destination = Bstr("back");
              DWORD written = 0;
              const HRESULT hr = Try([&] {
                  return on.Through.Native->WriteFile(reinterpret_cast<const BYTE*>(text.data()),
                                                      static_cast<DWORD>(text.size()), bfpDecode, 1, destination.Get(),
                                                      0, &written);
              });
              return Told{hr, Load("back")};
          }});
}

}  // namespace
}  // namespace talvo::test
