// Calls of the file methods in either form, told as one line each; and a folder of its own for every test.
#pragma once

#include <string>

#include "tests/support/module/component.h"
#include "tests/support/temp_folder.h"

namespace talvo::test {

// `size` bytes that repeat nowhere near.
inline std::string Sample(size_t size) {
    std::string bytes(size, 0);
    uint32_t state = 1;
    for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

enum class Method { Read, Write, Process };

struct FileCall {
    std::string Source = "in";
    std::string Destination = "out";
    DWORD Offset = 0;
    DWORD Size = 0;
    int Action = bfpEncode;
    bool End = true;
    bool Append = false;
    std::string Data = {};  // what WriteFile is given
};

struct FileResult {
    std::string Line;  // "code read written"; 0 for a count that the method does not have
    std::string Data;  // what ReadFile has answered
    std::string Error;
};

inline FileResult CallFileMethod(const Component& component, Method method, const FileCall& call,
                                 Form form = Form::Native) {
    const com::UniqueBstr from = Bstr(call.Source);
    const com::UniqueBstr to = Bstr(call.Destination);
    const auto action = static_cast<ETBFileProcessing>(call.Action);
    const VARIANT_BOOL end = call.End ? 2 : 0;
    const VARIANT_BOOL append = call.Append ? VARIANT_TRUE : VARIANT_FALSE;
    const auto offset = static_cast<LONG>(call.Offset);
    const auto size = static_cast<LONG>(call.Size);
    const bool native = form == Form::Native;
    ITalvoBinaryEncoding& n = *component.Native.Get();
    DTalvoBinaryEncoding& d = *component.Dual.Get();

    DWORD read = method == Method::Write ? 0 : 77;
    DWORD written = method == Method::Read ? 0 : 77;
    BYTE* block = nullptr;
    DWORD blockSize = 0;
    Variant given = Variant::Bytes(call.Data);
    Variant number;
    Variant result = Variant::Text("released");
    const auto data = reinterpret_cast<const BYTE*>(call.Data.data());
    const auto dataSize = static_cast<DWORD>(call.Data.size());
    auto* const count = reinterpret_cast<LONG*>(&written);
    LeaveStaleError();
    const auto ask = [&] {
        const FaultsHere here;  // what is to fail fails within the call only
        if (method == Method::Read)
            return native ? n.ReadFile(from.Get(), call.Offset, call.Size, action, end, &read, &block, &blockSize)
                          : d.ReadFile(from.Get(), offset, size, action, end, number.Get(), result.Get());
        if (method == Method::Write)
            return native ? n.WriteFile(data, dataSize, action, end, to.Get(), append, &written)
                          : d.WriteFile(given.Get(), action, end, to.Get(), append, count);
        return native
                   ? n.ProcessFile(from.Get(), call.Offset, call.Size, action, end, to.Get(), append, &read, &written)
                   : d.ProcessFile(from.Get(), offset, size, action, end, to.Get(), append, number.Get(), count);
    };
    const HRESULT hr = ask();
    EXPECT_EQ(V_ARRAY(given.Get())->cLocks, 0u);
    if (!native && method != Method::Write) {
        EXPECT_EQ(V_VT(number.Get()), VT_I4);
        read = static_cast<DWORD>(V_I4(number.Get()));
    }
    const std::string shown = result.Show();
    const bool answered = !native && method == Method::Read && shown != "empty";
    return {Name(hr) + " " + std::to_string(read) + " " + std::to_string(written),
            answered ? shown.substr(6) : TakeBlock(block, blockSize), TakeError()};
}

inline void Expect(const FileResult& result, HRESULT code, DWORD read, DWORD written) {
    EXPECT_EQ(result.Line, Name(code) + " " + std::to_string(read) + " " + std::to_string(written));
    EXPECT_EQ(result.Error, ErrorOf(kProgId, code));
}

// A folder of its own as the current one, with a folder "folder" in it. In the end no file may be open: who holds one
// keeps others from opening it for themselves alone. The component holds a Base64 object without line breaks.
class FileMethods : public testing::Test {
protected:
    FileMethods() {
        fs::create_directory("folder");
        format_->put_EndOfLineType(bltNone);
    }
    ~FileMethods() override { ExpectNothingOpen(); }
    static void ExpectNothingOpen() {
        for (const auto& entry : fs::recursive_directory_iterator(".")) {
            if (!entry.is_regular_file()) continue;
            const com::UniqueFile file(
                CreateFileA(entry.path().string().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            EXPECT_TRUE(file) << entry.path();
        }
    }
    FileResult Ask(Method method, const FileCall& call, Form form = Form::Native) const {
        return CallFileMethod(component_, method, call, form);
    }
    void PutName(const char* name) { component_.Format()->put_HeaderFilename(Bstr(name).Get()); }
    std::string GetName() {
        com::UniqueBstr name;
        component_.Format()->get_HeaderFilename(name.Put());
        return Narrow(name);
    }

    const CurrentTempFolder own_;
    const Component component_;
    const com::ComPtr<ITalvoBase64EncodingFormat> format_ = component_.UseBase64();
};

}  // namespace talvo::test
