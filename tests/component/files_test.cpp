// The file methods, on every platform: ranges, slices, names, sessions that go on, and what files do wrong.
#include <functional>

#include "tests/support/module/client_processor.h"
#include "tests/support/module/file_calls.h"

namespace talvo::test {
namespace {

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
        {100, 10, 0xFFFFFFFF, S_OK, 90},
        {100, 99, 0, S_OK, 1},
        {100, 100, 0, berInvalidFileOffset, 0},
        {100, 0xFFFFFFFF, 1, berInvalidFileOffset, 0},
        {0, 0, 0, berEmptyFile, 0},
        {131072, 0, 0, S_OK, 131072},
        {300000, 1, 262145, S_OK, 262145},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.File << " bytes, " << row.Offset << " " << row.Size);
        const std::string content = Sample(row.File);
        Save("in", content);
        FileCall call = {.Offset = row.Offset, .Size = row.Size};
        const std::string text =
            row.Read ? Convert(component_, Form::Native, false, content.substr(row.Offset, row.Read), true).Bytes : "";
        const auto size = static_cast<DWORD>(text.size());
        for (const Form form : kForms) {
            const FileResult read = Ask(Method::Read, call, form);
            Expect(read, row.Code, row.Read, 0);
            EXPECT_EQ(read.Data, text);
            Expect(Ask(Method::Process, call, form), row.Code, row.Read, size);
            // A source that fails leaves the destination alone.
            EXPECT_EQ(Load("out"), row.Code == S_OK ? text : "(none)");
            if (row.Code != S_OK) continue;
            call.Data = content.substr(row.Offset, row.Read);
            Expect(Ask(Method::Write, call, form), S_OK, 0, size);
            EXPECT_EQ(Load("out"), text);
            fs::remove("out");
        }
    }
}

// Offsets and sizes are unsigned in both forms; a file of 4 GiB is too big, whatever part of it is asked for.
TEST_F(FileMethods, LargeFiles) {
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
            const FileCall call = {.Offset = row.Offset};
            Expect(Ask(Method::Process, call, form), row.Code, row.Read, row.Read ? 4 : 0);
            Expect(Ask(Method::Read, call, form), row.Code, row.Read, 0);
        }
    }
}

// What the format object gets: "size", with a stop when there is no more.
TEST_F(FileMethods, Slices) {
    std::string calls;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view source, LONG end) {
        calls += std::to_string(source.size()) + (end ? ". " : " ");
        return Reply{S_PASSTHROUGH};
    });
    format_->putref_SubProcessing(processor->Data());
    Save("in", Sample(300000));
    for (const bool end : {false, true}) {
        const auto told = [&](Method method, size_t size) {
            EXPECT_EQ(Ask(method, {.End = end, .Data = Sample(size)}).Error, "none");
            return std::exchange(calls, "");
        };
        const std::string slices = end ? "131072 131072 37856. " : "131072 131072 37856 ";
        EXPECT_EQ(told(Method::Process, 0), slices);
        EXPECT_EQ(told(Method::Write, 300000), slices);
        EXPECT_EQ(told(Method::Read, 0), end ? "300000. " : "300000 ");
        EXPECT_EQ(told(Method::Write, 0), end ? "0. " : "");
    }
}

TEST_F(FileMethods, WhatFilesDoWrong) {
    for (const char* const name : {"in", "busy", "readonly"}) Save(name, name);
    Save("empty", "");
    fs::permissions("readonly", fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const std::string longName(300, 'n');
    const struct {
        const char* Name;
        HRESULT Code;
        const char* Source;
        const char* Destination;  // "out" where the source fails
        DWORD Held = 0;           // "busy" is open with this access
    } rows[] = {
        {"missing source", berFileNotFound, "none", "out"},
        {"missing folder of the source", berPathNotFound, "none\\in", "out"},
        {"a file as folder", berPathNotFound, "in\\in", "out"},
        {"folder as source", berAccessDenied, "folder", "out"},
        {"empty source", berEmptyFile, "empty", "out"},
        {"long name", berInvalidFilename, longName.c_str(), "out"},
        {"source being written", berAlreadyInUse, "busy", "out", GENERIC_WRITE},
        {"missing folder of the destination", berPathNotFound, "in", "none\\out"},
        {"folder as destination", berAccessDenied, "in", "folder"},
        {"no destination", berPathNotFound, "in", ""},
        {"read-only destination", berAccessDenied, "in", "readonly"},
        {"destination being read", berAlreadyInUse, "in", "busy", GENERIC_READ},
        {"destination being written", berAlreadyInUse, "in", "busy", GENERIC_WRITE},
        {"missing folder, named by the header", berPathNotFound, "in", "none\\"},
    };
    for (const auto& row : rows) {
        com::UniqueFile held;
        if (row.Held) held.Reset(CreateFileA("busy", row.Held, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        const std::string destination = row.Destination;
        // A file that cannot be opened in a folder: the native forms say so by the code alone.
        const bool named = destination == "none\\";
        for (const bool append : {false, true}) {
            const FileCall call = {.Source = row.Source, .Destination = destination, .Append = append, .Data = "ABC"};
            for (const Form form : kForms) {
                for (const Method method : {Method::Process, destination == "out" ? Method::Read : Method::Write}) {
                    SCOPED_TRACE(testing::Message() << row.Name << (method == Method::Process ? "" : ", other method"));
                    const FileResult result = Ask(method, call, form);
                    EXPECT_EQ(result.Line, Name(row.Code) + " 0 0");
                    EXPECT_EQ(result.Error, named && form == Form::Native ? "none" : ErrorOf(kProgId, row.Code));
                }
            }
        }
    }
    EXPECT_EQ(Ask(Method::Process, {.Destination = "in"}).Line, "berAlreadyInUse 0 0");
    EXPECT_EQ(Load("in") + Load("busy") + Load("readonly"), "inbusyreadonly");
    EXPECT_FALSE(fs::exists("out"));
    fs::permissions("readonly", fs::perms::owner_all);
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
        {"folder\\..\\in", "", bfpEncode, S_OK, "in"},
        {"in", "kept", bfpEncode, S_OK, "kept"},
        {"folder\\none.jpg", "", bfpEncode, berFileNotFound, "none.jpg"},  // before the source is opened
        {"folder\\", "", bfpEncode, berAccessDenied, ""},
        {"in", "", bfpDecode, S_OK, ""},
    };
    Save("in", "QUJD");
    for (const auto& row : rows) {
        for (const Method method : {Method::Read, Method::Process}) {
            SCOPED_TRACE(testing::Message() << row.Source << " " << row.Present << " " << row.Action);
            PutName(row.Present);
            EXPECT_EQ(Ask(method, {.Source = row.Source, .Action = row.Action}).Error, ErrorOf(kProgId, row.Code));
            EXPECT_EQ(GetName(), row.Name);
        }
    }
}

// The name goes from the source into the text, and from there to the file in the folder.
TEST_F(FileMethods, NamesThatTravelInTexts) {
    const std::string content = Sample(300000);
    Save("in", content);
    for (const CLSID& clsid : {CLSID_TalvoUUEncodingFormat, CLSID_TalvoXXEncodingFormat}) {
        component_.Native->putref_EncodingFormat(Create<ITalvoEncodeData>(clsid).Get());
        const FileResult text = Ask(Method::Read, {});
        const auto size = static_cast<DWORD>(text.Data.size());
        EXPECT_EQ(text.Data.substr(0, 15), "begin 0444 in\r\n");
        Expect(Ask(Method::Process, {}), S_OK, 300000, size);
        PutName("replaced");
        const FileCall call = {.Source = "out", .Destination = "folder\\", .Action = bfpDecode};
        Expect(Ask(Method::Process, call), S_OK, size, 300000);
        EXPECT_EQ(Load("folder/in"), content);
        fs::remove("folder/in");
    }
}

// The model plays any such story, but seldom has something to flush.
TEST_F(FileMethods, AConversionOverSeveralCalls) {
    const std::string content = Sample(1000);
    const std::string text = Convert(component_, Form::Native, false, content, true).Bytes;
    Save("in", content);
    Save("out", "old content");
    for (const DWORD offset : {0u, 100u, 500u}) {
        const DWORD size = offset == 0 ? 100 : offset == 100 ? 400 : 0;
        const FileCall call = {.Offset = offset, .Size = size, .End = false, .Append = offset != 0};
        EXPECT_EQ(Ask(Method::Process, call).Error, "none");
    }
    // What is held comes with the flush; a second one has nothing and leaves the destination alone.
    const auto held = static_cast<DWORD>(text.size() - Load("out").size());
    Expect(Ask(Method::Process, {.Source = "", .Append = true}), S_OK, 0, held);
    Expect(Ask(Method::Process, {.Source = ""}), S_OK, 0, 0);
    EXPECT_EQ(Load("out"), text);
}

TEST_F(FileMethods, ConversionsThatFailOrWarn) {
    std::string text(131173, 'A');
    text[131100] = '*';
    Save("in", text);
    const FileCall call = {.Action = bfpDecode, .Data = text};
    for (const Form form : kForms) {
        const bool native = form == Form::Native;
        // The first slice is written and counted; what was read counts where all was read before.
        Expect(Ask(Method::Process, call, form), berInvalidCharacterInData, 0, 98304);
        EXPECT_EQ(Load("out"), std::string(98304, '\0'));
        Expect(Ask(Method::Write, call, form), berInvalidCharacterInData, 0, 98304);
        Expect(Ask(Method::Read, call, form), berInvalidCharacterInData, native ? 131173 : 0, 0);
        format_->put_ContinueOnInvalidData(TRUE);
        Expect(Ask(Method::Process, call, form), berWarningInvalidCharacterInData, 131173, 98379);
        Expect(Ask(Method::Write, call, form), berWarningInvalidCharacterInData, 0, 98379);
        const FileResult read = Ask(Method::Read, call, form);
        Expect(read, native ? HRESULT{berWarningInvalidCharacterInData} : S_OK, 131173, 0);
        EXPECT_EQ(read.Data.size(), 98379u);
        format_->put_ContinueOnInvalidData(FALSE);
    }
    // From inside a call of the format object: it refuses to be named, which is its own to report, and once it has a
    // name, to convert. By then the destination has been made.
    FileResult inner;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view, LONG) {
        inner = Ask(Method::Process, {.Destination = "nested"});
        return Reply{S_PASSTHROUGH};
    });
    format_->putref_SubProcessing(processor->Data());
    Expect(Ask(Method::Write, {.Data = "ABC"}), S_OK, 0, 4);
    EXPECT_EQ(inner.Line + inner.Error, "berSessionOpened 0 0stale");
    PutName("in");
    Expect(Ask(Method::Write, {.Data = "ABC"}), S_OK, 0, 4);
    Expect(inner, berBusy, 0, 0);
    EXPECT_TRUE(fs::exists("nested"));
}

TEST_F(FileMethods, WrongArguments) {
    Save("in", "ABC");
    Save("out", "kept");
    for (const Form form : kForms) {
        for (const Method method : {Method::Read, Method::Write, Method::Process}) {
            for (const int action : {2, -1})
                Expect(Ask(method, {.Action = action}, form), berInvalidFileProcessing, 0, 0);
            if (method == Method::Write) continue;
            Expect(Ask(method, {.Source = "", .Offset = 1}, form), berInvalidFilename, 0, 0);
            Expect(Ask(method, {.Source = "", .Size = 1}, form), berInvalidFilename, 0, 0);
            Expect(Ask(method, {.Source = "", .End = false}, form), berInvalidFilename, 0, 0);
        }
    }
    EXPECT_EQ(Load("out"), "kept");
    DWORD n = 0;
    BYTE* data = nullptr;
    LONG written = 0;
    Variant v;
    ITalvoBinaryEncoding& native = *component_.Native.Get();
    DTalvoBinaryEncoding& dual = *component_.Dual.Get();
    const com::UniqueBstr in = Bstr("in");
    const std::function<HRESULT()> calls[] = {
        [&] { return native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, nullptr, &data, &n); },
        [&] { return native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, &n, nullptr, &n); },
        [&] { return native.ReadFile(in.Get(), 0, 0, bfpEncode, 1, &n, &data, nullptr); },
        [&] { return native.WriteFile(nullptr, 0, bfpEncode, 1, in.Get(), 0, nullptr); },
        [&] { return native.ProcessFile(in.Get(), 0, 0, bfpEncode, 1, in.Get(), 0, nullptr, &n); },
        [&] { return native.ProcessFile(in.Get(), 0, 0, bfpEncode, 1, in.Get(), 0, &n, nullptr); },
        [&] { return dual.ReadFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, nullptr, v.Get()); },
        [&] { return dual.ReadFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, v.Get(), nullptr); },
        [&] { return dual.WriteFile(v.Get(), bfpEncode, VARIANT_TRUE, in.Get(), VARIANT_FALSE, nullptr); },
        [&] { return dual.ProcessFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, in.Get(), 0, nullptr, &written); },
        [&] { return dual.ProcessFile(in.Get(), 0, 0, bfpEncode, VARIANT_TRUE, in.Get(), 0, v.Get(), nullptr); },
        [&] { return native.WriteFile(nullptr, 3, bfpEncode, 1, Bstr("out").Get(), 0, &n); },
    };
    for (const auto& call : calls) {
        EXPECT_EQ(Name(call()), "E_POINTER") << &call - calls;
        EXPECT_EQ(TakeError(), ErrorOf(kProgId, E_POINTER));
    }
    EXPECT_EQ(Load("in"), "ABC");
}

}  // namespace
}  // namespace talvo::test
