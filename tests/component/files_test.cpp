// The file methods, on every platform: ranges, slices, names, sessions that go on, and what files do wrong.
#include <functional>

#include "tests/component/file_calls.h"
#include "tests/formats/client_processor.h"
#include "tests/support/allocation_faults.h"

namespace talvo::test {
namespace {

constexpr Form kForms[] = {Form::Native, Form::Dual};

// "code read written", with the error information that belongs to the code.
void ExpectFileResult(const FileResult& result, HRESULT code, DWORD read, DWORD written) {
    EXPECT_EQ(result.Line, Name(code) + " " + std::to_string(read) + " " + std::to_string(written));
    EXPECT_EQ(result.Error, ErrorOf(kProgId, code));
}

std::string Encoded(const Component& component, std::string_view bytes) {
    BYTE* block = nullptr;
    DWORD size = 0;
    EXPECT_EQ(component.Native->Encode(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()), 1,
                                       &block, &size),
              S_OK);
    return TakeBlock(block, size);
}

TEST_F(FileMethods, Ranges) {
    const struct {
        DWORD File;
        DWORD Offset;
        DWORD Size;
        HRESULT Code;
        DWORD Read;
    } rows[] = {
        {100, 0, 0, S_OK, 100},
        {100, 10, 0, S_OK, 90},
        {100, 10, 20, S_OK, 20},
        {100, 10, 90, S_OK, 90},
        {100, 10, 500, S_OK, 90},
        {100, 10, 0xFFFFFFFF, S_OK, 90},
        {100, 99, 0, S_OK, 1},
        {100, 100, 0, berInvalidFileOffset, 0},
        {100, 0xFFFFFFFF, 1, berInvalidFileOffset, 0},
        {0, 0, 0, berEmptyFile, 0},
        {131072, 0, 0, S_OK, 131072},
        {131073, 0, 0, S_OK, 131073},
        {300000, 1, 262145, S_OK, 262145},
    };
    const Component component;
    component.UseBase64();
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.File << " bytes, " << row.Offset << " " << row.Size);
        const std::string content = Sample(row.File);
        Save("in", content);
        const std::string text = row.Read ? Encoded(component, content.substr(row.Offset, row.Read)) : "";
        FileCall call;
        call.Offset = row.Offset;
        call.Size = row.Size;
        for (const Form form : kForms) {
            const FileResult read = ReadTheFile(component, call, form);
            ExpectFileResult(read, row.Code, row.Read, 0);
            EXPECT_EQ(read.Data, text);
            ExpectFileResult(ProcessTheFile(component, call, form), row.Code, row.Read,
                             static_cast<DWORD>(text.size()));
            EXPECT_EQ(Load("out"), text);
            EXPECT_EQ(fs::remove("out"), row.Code == S_OK);  // a source that fails leaves the destination alone
            if (row.Code != S_OK) continue;
            const std::string_view range = std::string_view(content).substr(row.Offset, row.Read);
            ExpectFileResult(WriteTheFile(component, range, call, form), S_OK, 0, static_cast<DWORD>(text.size()));
            EXPECT_EQ(Load("out"), text);
        }
        fs::remove("out");
    }
}

// What the format object gets: "size", with a stop when there is no more.
TEST_F(FileMethods, Slices) {
    const Component component;
    std::string calls;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view source, LONG end) {
        calls += std::to_string(source.size()) + (end ? ". " : " ");
        return Reply{S_PASSTHROUGH};
    });
    component.UseBase64()->putref_SubProcessing(processor->Data());
    const std::string content = Sample(300000);
    Save("in", content);
    FileCall call;
    const auto told = [&](const FileResult& result) {
        EXPECT_EQ(result.Line.substr(0, 5), "S_OK ");
        return std::exchange(calls, "");
    };
    for (const bool end : {false, true}) {
        call.End = end;
        const std::string last = end ? "37856. " : "37856 ";
        EXPECT_EQ(told(ProcessTheFile(component, call)), "131072 131072 " + last);
        EXPECT_EQ(told(WriteTheFile(component, content, call)), "131072 131072 " + last);
        EXPECT_EQ(told(ReadTheFile(component, call)), end ? "300000. " : "300000 ");
        EXPECT_EQ(told(WriteTheFile(component, "", call)), end ? "0. " : "");
    }
}

TEST_F(FileMethods, WhatFilesDoWrong) {
    const Component component;
    component.UseBase64();
    Save("in", "ABC");
    Save("empty", "");
    Save("busy", "busy");
    Save("readonly", "readonly");
    fs::permissions("readonly", fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const auto hold = [](DWORD access, DWORD share) {
        return com::UniqueFile(CreateFileA("busy", access, share, nullptr, OPEN_EXISTING, 0, nullptr));
    };
    const struct {
        const char* Name;
        HRESULT Code;
        const char* Source;
        const char* Destination;
        DWORD Held = 0;  // "busy" is open with this access
    } rows[] = {
        {"missing source", berFileNotFound, "none", "out"},
        {"missing folder of the source", berPathNotFound, "none\\in", "out"},
        {"a file as folder", berPathNotFound, "in\\in", "out"},
        {"folder as source", berAccessDenied, "folder", "out"},
        {"empty source", berEmptyFile, "empty", "out"},
        {"source being written", berAlreadyInUse, "busy", "out", GENERIC_WRITE},
        {"missing folder of the destination", berPathNotFound, "in", "none\\out"},
        {"folder as destination", berAccessDenied, "in", "folder"},
        {"no destination", berPathNotFound, "in", ""},
        {"read-only destination", berAccessDenied, "in", "readonly"},
        {"destination being read", berAlreadyInUse, "in", "busy", GENERIC_READ},
        {"destination being written", berAlreadyInUse, "in", "busy", GENERIC_WRITE},
        {"into itself", berAlreadyInUse, "in", "in"},
        {"missing folder, named by the header", berPathNotFound, "in", "none\\"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        const com::UniqueFile held =
            hold(row.Held ? row.Held : DWORD{GENERIC_READ}, row.Held ? DWORD{FILE_SHARE_READ} : DWORD{7});
        const bool source = std::string_view(row.Destination) == "out";
        for (const bool append : {false, true}) {
            FileCall call;
            call.Source = row.Source;
            call.Destination = row.Destination;
            call.Append = append;
            const bool named = *row.Destination && std::string_view(row.Destination).back() == '\\';
            for (const Form form : kForms) {
                std::vector<FileResult> results = {ProcessTheFile(component, call, form)};
                results.push_back(source ? ReadTheFile(component, call, form)
                                         : WriteTheFile(component, "ABC", call, form));
                if (source) ExpectFileResult(results[1], row.Code, 0, 0);
                for (const FileResult& result : results) {
                    if (std::string_view(row.Name) == "into itself" && &result != &results[0]) continue;
                    EXPECT_EQ(result.Line, Name(row.Code) + " 0 0");
                    // A file that cannot be opened in a folder: the native forms say so by the code alone.
                    EXPECT_EQ(result.Error, named && form == Form::Native ? "none" : ErrorOf(kProgId, row.Code));
                }
            }
        }
        EXPECT_FALSE(fs::exists("out"));
    }
    EXPECT_EQ(Load("busy") + Load("readonly"), "busyreadonly");
    fs::permissions("readonly", fs::perms::owner_all);
    FileCall call;
    call.Source = std::string(300, 'n');
    EXPECT_EQ(ReadTheFile(component, call).Line, "berInvalidFilename 0 0");
}

TEST_F(FileMethods, HeaderNamesFromSources) {
    const struct {
        const char* Source;
        const char* Present;
        int Action;
        HRESULT Code;
        const char* Name;
    } rows[] = {
        {"in", "", bfpEncode, S_OK, "in"},
        {"folder\\in", "", bfpEncode, S_OK, "in"},
        {"folder\\..\\in", "", bfpEncode, S_OK, "in"},
        {"in", "kept", bfpEncode, S_OK, "kept"},
        {"folder\\none.jpg", "", bfpEncode, berFileNotFound, "none.jpg"},  // before the source is opened
        {"folder\\", "", bfpEncode, berAccessDenied, ""},
        {"in", "", bfpDecode, S_OK, ""},
        {"folder\\in", "kept", bfpDecode, S_OK, "kept"},
    };
    Save("in", "QUJD");
    Save("folder/in", "QUJD");
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.Source << " " << row.Present << " " << row.Action);
        for (const bool process : {false, true}) {
            const Component component;
            component.UseBase64();
            component.Format()->put_HeaderFilename(Bstr(row.Present).Get());
            FileCall call;
            call.Source = row.Source;
            call.Action = row.Action;
            const FileResult result = process ? ProcessTheFile(component, call) : ReadTheFile(component, call);
            EXPECT_EQ(result.Line.substr(0, result.Line.find(' ')), Name(row.Code));
            com::UniqueBstr name;
            component.Format()->get_HeaderFilename(name.Put());
            EXPECT_EQ(Narrow({name.Get(), SysStringLen(name.Get())}), row.Name);
        }
    }
}

TEST_F(FileMethods, FoldersAsDestinations) {
    const Component component;
    const auto format = component.UseBase64();
    component.Format()->put_HeaderFilename(Bstr("named").Get());
    FileCall call;
    call.Destination = "folder\\";
    call.Action = bfpDecode;
    for (const Form form : kForms) {
        ExpectFileResult(WriteTheFile(component, "QUJD", call, form), S_OK, 0, 3);
        EXPECT_EQ(Load("folder/named"), "ABC");
        // Nothing comes: no file, and that is told, except where nothing was asked for.
        fs::remove("folder/named");
        ExpectFileResult(WriteTheFile(component, "", call, form), S_FALSE, 0, 0);
        call.End = false;
        ExpectFileResult(WriteTheFile(component, "Q", call, form), S_FALSE, 0, 0);
        ExpectFileResult(WriteTheFile(component, "", call, form), S_OK, 0, 0);
        EXPECT_TRUE(fs::is_empty("folder"));
        component.Native->Reset();
        call.End = true;
    }
    // Without a name in the header the folder itself would be written.
    component.Format()->put_HeaderFilename(nullptr);
    EXPECT_EQ(WriteTheFile(component, "QUJD", call).Line, "berAccessDenied 0 0");
}

// A new component: the default format takes the name from the source, and gives it to the file in the folder.
TEST_F(FileMethods, NamesThatTravelInTexts) {
    const std::string content = Sample(300000);
    Save("in", content);
    for (const CLSID& clsid : {CLSID_TalvoUUEncodingFormat, CLSID_TalvoXXEncodingFormat}) {
        const Component component;
        component.Native->putref_EncodingFormat(Create<ITalvoEncodeData>(clsid).Get());
        const FileResult text = ReadTheFile(component, {});
        ExpectFileResult(text, S_OK, 300000, 0);
        EXPECT_EQ(text.Data.substr(0, 15), "begin 0444 in\r\n");
        ExpectFileResult(ProcessTheFile(component, {}), S_OK, 300000, static_cast<DWORD>(text.Data.size()));
        component.Format()->put_HeaderFilename(Bstr("replaced").Get());
        for (const Form form : kForms) {
            const FileCall call = {.Source = "out", .Destination = "folder\\", .Action = bfpDecode};
            ExpectFileResult(ProcessTheFile(component, call, form), S_OK, static_cast<DWORD>(text.Data.size()), 300000);
            EXPECT_EQ(Load("folder/in"), content);
            fs::remove("folder/in");
        }
    }
}

TEST_F(FileMethods, AConversionOverSeveralCalls) {
    const Component component;
    component.UseBase64();
    const std::string content = Sample(1000);
    const std::string text = Encoded(component, content);
    Save("in", content);
    for (const Form form : kForms) {
        FileCall call;
        call.End = false;
        Save("out", "old content");
        for (const DWORD offset : {0u, 100u, 200u, 800u}) {
            call.Offset = offset;
            call.Size = offset == 200 ? 600 : 100 + (offset == 800) * 100;
            call.Append = offset != 0;
            EXPECT_EQ(ProcessTheFile(component, call, form).Error, "none");
        }
        // What is held comes with the flush.
        FileCall flush;
        flush.Source = "";
        flush.Append = true;
        const size_t before = Load("out").size();
        ExpectFileResult(ProcessTheFile(component, flush, form), S_OK, 0, static_cast<DWORD>(text.size() - before));
        EXPECT_EQ(Load("out"), text);
        // A second flush has nothing and leaves the destination alone, whatever it is.
        flush.Append = false;
        ExpectFileResult(ProcessTheFile(component, flush, form), S_OK, 0, 0);
        flush.Destination = "none\\out";
        ExpectFileResult(ProcessTheFile(component, flush, form), S_OK, 0, 0);
        EXPECT_EQ(Load("out"), text);
        // The same in memory; and into a file that cannot be opened.
        const auto hold = [&] { EXPECT_EQ(WriteTheFile(component, "AB", {.End = false}, form).Line, "S_OK 0 0"); };
        hold();
        const FileResult held = ReadTheFile(component, flush, form);
        ExpectFileResult(held, S_OK, 0, 0);
        EXPECT_EQ(held.Data, "QUI=");
        hold();
        ExpectFileResult(ProcessTheFile(component, flush, form), berPathNotFound, 0, 0);
        hold();
        component.Format()->put_HeaderFilename(nullptr);
        flush.Destination = "folder\\";
        flush.Append = true;
        component.Native->Reset();
    }
    // Creating, emptying and appending without any data.
    Save("out", "old");
    EXPECT_EQ(WriteTheFile(component, "", {.End = false, .Append = true}).Line, "S_OK 0 0");
    EXPECT_EQ(Load("out"), "old");
    EXPECT_EQ(WriteTheFile(component, "ABC", {.Append = true}).Line, "S_OK 0 4");
    EXPECT_EQ(Load("out"), "oldQUJD");
    EXPECT_EQ(WriteTheFile(component, "", {.End = false}).Line, "S_OK 0 0");
    EXPECT_EQ(Load("out"), "");
}

TEST_F(FileMethods, ConversionsThatFailOrWarn) {
    const Component component;
    const auto format = component.UseBase64();
    std::string text(131072 + 101, 'A');
    text[131072 + 50] = '*';
    Save("in", text);
    FileCall call;
    call.Action = bfpDecode;
    for (const Form form : kForms) {
        // The first slice is written and counted; what was read counts where all was read before.
        ExpectFileResult(ProcessTheFile(component, call, form), berInvalidCharacterInData, 0, 98304);
        EXPECT_EQ(Load("out"), std::string(98304, '\0'));
        ExpectFileResult(WriteTheFile(component, text, call, form), berInvalidCharacterInData, 0, 98304);
        ExpectFileResult(ReadTheFile(component, call, form), berInvalidCharacterInData,
                         form == Form::Native ? 131173 : 0, 0);
        format->put_ContinueOnInvalidData(TRUE);
        ExpectFileResult(ProcessTheFile(component, call, form), berWarningInvalidCharacterInData, 131173, 98379);
        ExpectFileResult(WriteTheFile(component, text, call, form), berWarningInvalidCharacterInData, 0, 98379);
        const FileResult read = ReadTheFile(component, call, form);
        ExpectFileResult(read, form == Form::Native ? HRESULT{berWarningInvalidCharacterInData} : S_OK, 131173, 0);
        EXPECT_EQ(read.Data.size(), 98379u);
        format->put_ContinueOnInvalidData(FALSE);
    }
    // From inside a call of the format object: it refuses to be named, and once it has a name, to convert. By then the
    // destination has been made.
    FileCall nested;
    nested.Destination = "nested";
    FileResult inner;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view, LONG) {
        inner = ProcessTheFile(component, nested);
        return Reply{S_PASSTHROUGH};
    });
    format->putref_SubProcessing(processor->Data());
    ExpectFileResult(WriteTheFile(component, "ABC", {}), S_OK, 0, 4);
    EXPECT_EQ(inner.Line + inner.Error, "berSessionOpened 0 0stale");  // the format object's to report
    component.Format()->put_HeaderFilename(Bstr("in").Get());
    ExpectFileResult(WriteTheFile(component, "ABC", {}), S_OK, 0, 4);
    ExpectFileResult(inner, berBusy, 0, 0);
    EXPECT_TRUE(fs::exists("nested"));

    component.Native->putref_EncodingFormat(nullptr);
    for (const Form form : kForms) {
        ExpectFileResult(ProcessTheFile(component, call, form), berNoEncodingFormat, 0, 0);
        EXPECT_EQ(fs::file_size("out"), 0u);
        ExpectFileResult(ReadTheFile(component, call, form), berNoEncodingFormat, form == Form::Native ? 131173 : 0, 0);
        ExpectFileResult(WriteTheFile(component, "x", {}, form), berNoEncodingFormat, 0, 0);
    }
}

TEST_F(FileMethods, WrongArguments) {
    const Component component;
    component.UseBase64();
    Save("in", "ABC");
    Save("out", "kept");
    FileCall call;
    for (const Form form : kForms) {
        for (const int action : {2, -1, 0x10000}) {
            call = {};
            call.Action = action;
            ExpectFileResult(ReadTheFile(component, call, form), berInvalidFileProcessing, 0, 0);
            ExpectFileResult(WriteTheFile(component, "x", call, form), berInvalidFileProcessing, 0, 0);
            ExpectFileResult(ProcessTheFile(component, call, form), berInvalidFileProcessing, 0, 0);
        }
        for (const FileCall& nameless : {FileCall{.Source = "", .Offset = 1}, FileCall{.Source = "", .Size = 1},
                                         FileCall{.Source = "", .End = false}}) {
            ExpectFileResult(ReadTheFile(component, nameless, form), berInvalidFilename, 0, 0);
            ExpectFileResult(ProcessTheFile(component, nameless, form), berInvalidFilename, 0, 0);
        }
    }
    EXPECT_EQ(Load("out"), "kept");
    DWORD count = 0;
    BYTE* data = nullptr;
    LONG written = 0;
    Variant variant;
    ITalvoBinaryEncoding& native = *component.Native.Get();
    DTalvoBinaryEncoding& dual = *component.Dual.Get();
    const com::UniqueBstr in = Bstr("in");
    const std::function<HRESULT()> calls[] = {
        [&] { return native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, nullptr, &data, &count); },
        [&] { return native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, &count, nullptr, &count); },
        [&] { return native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, &count, &data, nullptr); },
        [&] { return native.WriteFile(nullptr, 0, bfpEncode, 1, in.Get(), 0, nullptr); },
        [&] { return native.ProcessFile(in.Get(), 0, 0, bfpEncode, 1, in.Get(), 0, nullptr, &count); },
        [&] { return native.ProcessFile(in.Get(), 0, 0, bfpEncode, 1, in.Get(), 0, &count, nullptr); },
        [&] { return dual.ReadFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, nullptr, variant.Get()); },
        [&] { return dual.ReadFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, variant.Get(), nullptr); },
        [&] { return dual.WriteFile(variant.Get(), bfpEncode, VARIANT_TRUE, in.Get(), VARIANT_FALSE, nullptr); },
        [&] { return dual.ProcessFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, in.Get(), 0, nullptr, &written); },
        [&] { return dual.ProcessFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, in.Get(), 0, variant.Get(), nullptr); },
        [&] { return native.WriteFile(nullptr, 3, bfpEncode, 1, Bstr("out").Get(), 0, &count); },
    };
    for (const auto& each : calls) {
        SCOPED_TRACE(&each - calls);
        EXPECT_EQ(Name(each()), "E_POINTER");
        EXPECT_EQ(TakeError(), ErrorOf(kProgId, E_POINTER));
    }
    EXPECT_EQ(Load("in"), "ABC");
}

// Offsets and sizes are unsigned in both forms; a file of 4 GiB is too big, whatever part of it is asked for.
TEST_F(FileMethods, LargeFiles) {
    const Component component;
    component.UseBase64();
    const struct {
        LONGLONG Size;
        DWORD Offset;
        HRESULT Code;
        DWORD Read;
    } rows[] = {
        {0xFFFFFFFF, 0xFFFFFFFC, S_OK, 3},
        {0xFFFFFFFF, 0xFFFFFFFF, berInvalidFileOffset, 0},
        {0x100000000, 0, berFileTooBig, 0},
        {0x100000001, 0xFFFFFFFF, berFileTooBig, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Size);
        {
            const com::UniqueFile file(CreateFileA("in", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
            LARGE_INTEGER size;
            size.QuadPart = row.Size;
            ASSERT_TRUE(SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) && SetEndOfFile(file.Get()));
        }
        for (const Form form : kForms) {
            FileCall call;
            call.Offset = row.Offset;
            ExpectFileResult(ProcessTheFile(component, call, form), row.Code, row.Read, row.Read ? 4 : 0);
            const FileResult read = ReadTheFile(component, call, form);
            ExpectFileResult(read, row.Code, row.Read, 0);
            EXPECT_EQ(read.Data, row.Read ? "AAAA" : "");
        }
    }
}

TEST_F(FileMethods, EveryAllocationFailsOnce) {
    Save("in", "ABC");
    Save("text", "QUJD");
    const com::UniqueBstr in = Bstr("in");
    const com::UniqueBstr text = Bstr("text");
    const com::UniqueBstr folder = Bstr("folder\\");
    const auto story = [&](AllocationFaults& faults) {
        const auto component = [] {
            const FaultPause pause;
            auto made = std::make_unique<Component>();
            made->UseBase64();
            return made;
        }();
        ITalvoBinaryEncoding& native = *component->Native.Get();
        const auto expect = [&](HRESULT hr) {
            if (hr == S_OK) return;
            const FaultPause pause;
            EXPECT_EQ(Name(hr), "E_OUTOFMEMORY");
            EXPECT_NE(faults.Struck(), 0u);
            native.Reset();
        };
        DWORD read = 0;
        DWORD written = 0;
        DWORD size = 0;
        com::UniqueTaskBytes data;
        Variant number;
        Variant result;
        // The first one also names the header, which the last one needs.
        expect(native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, &read, data.Put(), &size));
        expect(component->Dual->ReadFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, number.Get(), result.Get()));
        expect(native.WriteFile(reinterpret_cast<const BYTE*>("ABC"), 3, bfpEncode, 1, text.Get(), 0, &written));
        if (faults.Struck() == 0) {
            expect(native.ProcessFile(text.Get(), 0, 0, bfpDecode, 1, folder.Get(), 0, &read, &written));
        }
        faults.Disarm();
        ExpectNothingOpen();
        EXPECT_EQ(native.ProcessFile(in.Get(), 0, 0, bfpEncode, 1, text.Get(), 0, &read, &written), S_OK);
        EXPECT_EQ(native.ProcessFile(text.Get(), 0, 0, bfpDecode, 1, folder.Get(), 0, &read, &written), S_OK);
        EXPECT_EQ(Load("folder/in"), "ABC");
        SetErrorInfo(0, nullptr);
    };
    for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New}) ForEachFailingAllocation(story, kind);
}

}  // namespace
}  // namespace talvo::test
