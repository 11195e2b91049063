// A set of stories, each told again and again with its first, second, ... allocation, file call or call of a client's
// processor failing. Afterwards: the failure was reported, output so far is the beginning of the right one, nothing has
// leaked, no file is open, and after a Reset the same objects tell the whole story.
#include <algorithm>
#include <array>

#include "tests/support/allocation_faults.h"
#include "tests/support/module/client_processor.h"
#include "tests/support/module/file_calls.h"
#include "tests/support/module/format_classes.h"
#include "tests/support/wine.h"
#ifdef TALVO_FILE_FAULTS
#include "tests/support/native/file_faults.h"
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

// In four pieces, until one fails.
Converted ConvertAll(const Component& through, Form form, bool decode, std::string_view input) {
    Converted all = {"S_OK"};
    const size_t piece = input.size() / 3 + 1;
    for (size_t from = 0; all.Code == "S_OK" && from <= input.size(); from += piece) {
        const auto [code, bytes, none] =
            Convert(through, form, decode, input.substr(from, piece), from + piece > input.size());
        all = {code, all.Bytes + bytes};
    }
    return all;
}

// What a telling comes to: the code of the call that failed, and all output.
struct Story {
    std::string Name;
    std::vector<int> Kinds;
    bool Processor;
    std::function<Converted(const Stage&)> Tell;
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
    const auto allocation = [](const AllocationFaults& faults) { return faults.Struck() != 0; };
    const auto fileCall = [](const AllocationFaults&) { return *FailedFileCall() != 0; };
    const auto processorCall = [](const AllocationFaults&) { return g_processorStruck; };
    for (const bool second : {false, true}) {
        for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New})
            sources.push_back({kind == FaultKind::New ? "operator new" : "task memory",
                               [=](AllocationFaults& faults, size_t n) { faults.FailNth(n, second, kind); }, allocation,
                               memory});
        sources.push_back({second ? "half of a transfer" : "file call",
                           [=](AllocationFaults&, size_t n) {
                               FailFileCall(static_cast<unsigned>(n), second ? ERROR_SUCCESS : ERROR_IO_DEVICE, second);
                           },
                           fileCall, kFileCodes});
        const HRESULT code = second ? HRESULT{berBusy} : E_FAIL;
        sources.push_back({"processor",
                           [=](AllocationFaults&, size_t n) {
                               g_processorCallsLeft = n;
                               g_processorCode = code;
                               g_processorStruck = false;
                           },
                           processorCall,
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
            Converted told = story.Tell(stage);
            SetErrorInfo(0, nullptr);
            return told;
        };
        const Converted right = tell(Stage(story.Kinds, story.Processor));  // what is loaded once is loaded now
        ASSERT_EQ(right.Code, "S_OK");
        ++stories_;
        const size_t live = faults.Live();
        for (const Source& source : Sources()) {
            bool struck = true;
            for (size_t n = 1; struck && !HasFailure(); ++n) {
                SCOPED_TRACE(testing::Message() << source.Name << ", number " << n);
                {
                    const Stage stage(story.Kinds, story.Processor);
                    source.Arm(faults, n);
                    const Converted told = tell(stage);
                    struck = source.Struck(faults);
                    faults.Disarm();
                    FailFileCall(0, 0, false);
                    g_processorCallsLeft = 0;
                    failures_ += struck;
                    if (told.Code == "S_OK") {
                        EXPECT_EQ(told, right);  // a block that cannot shrink is handed out as it is
                    } else {
                        EXPECT_TRUE(struck && source.Codes.contains(told.Code)) << told.Code;
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
        Form Through;
        bool Processor;
    } rows[] = {
        {"UU", {kUU}, Form::Native, false},
        {"XX", {kXX}, Form::Native, false},
        {"Base64", {kBase64}, Form::Dual, false},
        {"hexadecimal", {kHexa}, Form::Dual, false},
        {"BinHex", {kBinHex}, Form::Native, false},
        {"quoted-printable", {kQuotedPrintable}, Form::Native, false},
        {"UU of Base64", {kUU, kBase64}, Form::Native, false},
        {"Base64 of a client's", {kBase64}, Form::Native, true},
        {"quoted-printable of XX of hexadecimal of a client's", {kQuotedPrintable, kXX, kHexa}, Form::Dual, true},
        {"UU of BinHex of a client's", {kUU, kBinHex}, Form::Native, true},
    };
    for (const auto& row : rows) {
        const auto convert = [&](bool decode, const std::string& input) {
            return [&row, decode, input](const Stage& stage) {
                // A decoding takes its name from the text.
                for (const FormatObject& format : stage.Formats) {
                    const com::UniqueBstr name = Bstr("a.txt");
                    const auto put = [&] {
                        const FaultsHere here;
                        return format.Data->put_HeaderFilename(name.Get());
                    };
                    if (const HRESULT hr = put(); FAILED(hr)) return Converted{Name(hr)};
                    if (format.FileInformation) format.Number("HeaderDataForkLength").Native.Put(kForkLength);
                }
                return ConvertAll(stage.Through, row.Through, decode, input);
            };
        };
        const Story encode = {row.Name, row.Kinds, row.Processor, convert(false, kBytes)};
        const Converted text = encode.Tell(Stage(row.Kinds, row.Processor));
        Tell(encode);
        Tell({std::string("back from ") + row.Name, row.Kinds, row.Processor, convert(true, text.Bytes)});
    }
    // What a decoder holds, and an output block, that must grow.
    const std::string blanks(4000, ' ');
    std::string lines = "begin 0444 a.txt\n";
    while (lines.size() < 400) lines += "_\n";
    const auto decoding = [](const std::string& text) {
        return [text](const Stage& stage) { return ConvertAll(stage.Through, Form::Native, true, text); };
    };
    Tell({"blanks held back", {kQuotedPrintable}, false, decoding(blanks + "=\n" + blanks)});
    Tell({"lines that announce much", {kUU}, false, decoding(lines)});
}

TEST_F(Faults, OfFileMethods) {
    Save("in", Sample(131072 + 99));  // two slices
    const std::vector<int> kinds = {kUU, kBase64};
    const Stage stage(kinds, true);
    ASSERT_EQ(CallFileMethod(stage.Through, Method::Process, {.Destination = "text"}).Line.substr(0, 4), "S_OK");
    // The output is what lies in the file, also of a call that failed.
    const auto calls = [](Method method, const FileCall& call, const char* output, Form form = Form::Native) {
        return [=](const Stage& on) {
            std::error_code none;
            fs::remove(output, none);
            const FileResult result = CallFileMethod(on.Through, method, call, form);
            return Converted{result.Line.substr(0, result.Line.find(' ')),
                             method == Method::Read || !fs::exists(output) ? result.Data : Load(output)};
        };
    };
    const FileCall decode = {.Source = "text", .Action = bfpDecode, .Data = Load("text")};
    FileCall intoFolder = decode;
    intoFolder.Destination = "folder\\";
    Tell({"ProcessFile", kinds, true, calls(Method::Process, {}, "out")});
    Tell({"ProcessFile into a folder", kinds, true, calls(Method::Process, intoFolder, "folder/a.txt")});
    Tell({"WriteFile", kinds, true, calls(Method::Write, decode, "out")});
    Tell({"ReadFile", kinds, true, calls(Method::Read, decode, "", Form::Dual)});
}

TEST_F(Faults, OfLateBoundCalls) {
    Tell({"Encode by name", {kBase64}, false, [](const Stage& stage) {
              Variant end = Variant::Truth(true), source = Variant::Bytes("ABCD"), result;
              VARIANT backwards[] = {*end.Get(), *source.Get()};
              DISPPARAMS parameters = {backwards, nullptr, 2, 0};
              EXCEPINFO exception = {};
              const auto call = [&] {
                  const FaultsHere here;
                  return stage.Through.Dual->Invoke(400, IID_NULL, 0, DISPATCH_METHOD, &parameters, result.Put(),
                                                    &exception, nullptr);
              };
              const HRESULT hr = call();
              for (BSTR const part : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile})
                  SysFreeString(part);
              // Wine leaves the type of a result that it could not copy.
              const bool nothing = result.Show() == "empty" || (hr != S_OK && UnderWine());
              return Converted{Name(hr == DISP_E_EXCEPTION ? exception.scode : hr), nothing ? "" : result.Show()};
          }});
}

TEST_F(Faults, OfProperties) {
    Tell({"a name, a type and a creator", {kBinHex}, false, [](const Stage& stage) {
              const auto format = As<ITalvoBinHexEncodingFormat>(stage.Formats[0].Data);
              const auto dual = As<DTalvoBinHexEncodingFormat>(format);
              const com::UniqueBstr name = Bstr("name.bin");
              com::UniqueBstr read;
              com::UniqueTaskBytes four;
              Variant creator;
              const auto all = [&] {
                  const FaultsHere here;
                  return std::array{format->put_HeaderFilename(name.Get()), dual->get_HeaderFilename(read.Put()),
                                    format->get_HeaderType(four.Put()), dual->get_HeaderCreator(creator.Put())};
              };
              const auto codes = all();
              // A name that could not be copied is no name.
              EXPECT_EQ(format->get_HeaderFilename(read.Put()), S_OK);
              EXPECT_EQ(Narrow(read), codes[0] == S_OK ? "name.bin" : "");
              const auto failed = std::ranges::find_if(codes, [](HRESULT hr) { return FAILED(hr); });
              return Converted{Name(failed == codes.end() ? S_OK : *failed)};
          }});
}

}  // namespace
}  // namespace talvo::test
