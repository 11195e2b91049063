// Calls of the file methods in either form, told as one line each; and a folder of its own for every test.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/component/component.h"

namespace talvo::test {

namespace fs = std::filesystem;

inline void Save(const fs::path& name, std::string_view bytes) {
    std::ofstream(name, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string Load(const fs::path& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// `size` bytes that repeat nowhere near.
inline std::string Sample(size_t size) {
    std::string bytes(size, 0);
    uint32_t state = 1;
    for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

enum class Form { Native, Dual };

struct FileCall {
    std::string Source = "in";
    std::string Destination = "out";
    DWORD Offset = 0;
    DWORD Size = 0;
    int Action = bfpEncode;
    bool End = true;
    bool Append = false;

    ETBFileProcessing Which() const { return static_cast<ETBFileProcessing>(Action); }
};

// What a call has answered. "code read" or "code read written" of the native form; the automation form has the code.
struct FileResult {
    std::string Line;
    std::string Data;
    std::string Error;
};

inline FileResult Told(HRESULT hr, DWORD read, DWORD written, std::string data = {}) {
    return {Name(hr) + " " + std::to_string(read) + " " + std::to_string(written), std::move(data), TakeError()};
}

inline FileResult ReadTheFile(const Component& component, const FileCall& call, Form form = Form::Native) {
    LeaveStaleError();
    const com::UniqueBstr source = Bstr(call.Source);
    if (form == Form::Native) {
        DWORD read = 77;
        DWORD size = 77;
        BYTE* data = reinterpret_cast<BYTE*>(&read);
        const HRESULT hr = component.Native->ReadFile(source.Get(), call.Offset, call.Size, call.Which(), call.End,
                                                      &read, &data, &size);
        return Told(hr, read, 0, TakeBlock(data, size));
    }
    Variant read;
    Variant result = Variant::Text("released");
    const HRESULT hr =
        component.Dual->ReadFile(source.Get(), static_cast<LONG>(call.Offset), static_cast<LONG>(call.Size),
                                 call.Which(), call.End ? VARIANT_BOOL{2} : VARIANT_FALSE, read.Get(), result.Get());
    const std::string shown = result.Show();
    EXPECT_EQ(read.Show().rfind("number ", 0), 0u);
    return Told(hr, static_cast<DWORD>(V_I4(read.Get())), 0, shown == "(empty)" ? "" : shown.substr(6));
}

inline FileResult WriteTheFile(const Component& component, std::string_view data, const FileCall& call,
                               Form form = Form::Native) {
    LeaveStaleError();
    const com::UniqueBstr destination = Bstr(call.Destination);
    DWORD written = 77;
    HRESULT hr = S_OK;
    if (form == Form::Native) {
        hr = component.Native->WriteFile(reinterpret_cast<const BYTE*>(data.data()), static_cast<DWORD>(data.size()),
                                         call.Which(), call.End, destination.Get(), call.Append, &written);
    } else {
        Variant bytes = Variant::Bytes(data);
        hr = component.Dual->WriteFile(bytes.Get(), call.Which(), call.End ? VARIANT_TRUE : VARIANT_FALSE,
                                       destination.Get(), call.Append ? VARIANT_TRUE : VARIANT_FALSE,
                                       reinterpret_cast<LONG*>(&written));
        EXPECT_EQ(V_ARRAY(bytes.Get())->cLocks, 0u);
    }
    return Told(hr, 0, written);
}

inline FileResult ProcessTheFile(const Component& component, const FileCall& call, Form form = Form::Native) {
    LeaveStaleError();
    const com::UniqueBstr source = Bstr(call.Source);
    const com::UniqueBstr destination = Bstr(call.Destination);
    DWORD read = 77;
    DWORD written = 77;
    if (form == Form::Native) {
        const HRESULT hr = component.Native->ProcessFile(source.Get(), call.Offset, call.Size, call.Which(), call.End,
                                                         destination.Get(), call.Append, &read, &written);
        return Told(hr, read, written);
    }
    Variant number = Variant::Text("released");
    const HRESULT hr = component.Dual->ProcessFile(
        source.Get(), static_cast<LONG>(call.Offset), static_cast<LONG>(call.Size), call.Which(),
        call.End ? VARIANT_TRUE : VARIANT_FALSE, destination.Get(), call.Append ? VARIANT_TRUE : VARIANT_FALSE,
        number.Get(), reinterpret_cast<LONG*>(&written));
    EXPECT_EQ(number.Show().rfind("number ", 0), 0u);
    return Told(hr, static_cast<DWORD>(V_I4(number.Get())), written);
}

// A folder of its own as the current one, with an empty folder "folder" in it. In the end no file in it may be open.
class FileMethods : public testing::Test {
protected:
    void SetUp() override {
        before_ = fs::current_path();
        folder_ = fs::temp_directory_path() / ("talvo_methods_" + std::to_string(GetTickCount64()));
        fs::create_directory(folder_);
        fs::current_path(folder_);
        fs::create_directory("folder");
    }
    void TearDown() override {
        ExpectNothingOpen();
        fs::current_path(before_);
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    // Whoever holds a file keeps others from opening it for themselves alone.
    static void ExpectNothingOpen() {
        for (const auto& entry : fs::recursive_directory_iterator(".")) {
            if (!entry.is_regular_file()) continue;
            const HANDLE file = CreateFileA(entry.path().string().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                            FILE_ATTRIBUTE_NORMAL, nullptr);
            EXPECT_NE(file, INVALID_HANDLE_VALUE) << entry.path();
            CloseHandle(file);
        }
    }

private:
    fs::path before_;
    fs::path folder_;
};

}  // namespace talvo::test
