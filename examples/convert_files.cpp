// convert_files FILE FOLDER: sends a file through the registered component in every format, into FOLDER, and back, into
// FOLDER/back under the name that the text carries. Prints a table; ends with 1 unless every way back gives the file.
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "TalvoBinaryEncoding.h"

namespace {

namespace fs = std::filesystem;

// Owners: what they hold is released at the end of their scope.
struct Release {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Owner = std::unique_ptr<Interface, Release>;

struct FreeString {
    void operator()(OLECHAR* text) const { SysFreeString(text); }
};
using OwnedBstr = std::unique_ptr<OLECHAR, FreeString>;

template <class Interface>
HRESULT Create(REFCLSID clsid, Owner<Interface>& owner) {
    void* object = nullptr;
    const HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), &object);
    owner.reset(static_cast<Interface*>(object));
    return hr;
}

// The native interface of a format object.
template <class Interface>
HRESULT As(ITalvoEncodeData& format, Owner<Interface>& owner) {
    void* object = nullptr;
    const HRESULT hr = format.QueryInterface(__uuidof(Interface), &object);
    owner.reset(static_cast<Interface*>(object));
    return hr;
}

// What a format needs to know beforehand, if anything.
using Prepare = HRESULT (*)(ITalvoEncodeData& format, DWORD fileSize);

// Other bytes than text: its line breaks are bytes like all others.
HRESULT WithoutLines(ITalvoEncodeData& format, DWORD) {
    Owner<ITalvoQuotedPrintableEncodingFormat> quotedPrintable;
    const HRESULT hr = As(format, quotedPrintable);
    return FAILED(hr) ? hr : quotedPrintable->put_EndOfLineType(bltNone);
}

// The header, which comes first, has the length.
HRESULT WithLength(ITalvoEncodeData& format, DWORD fileSize) {
    Owner<ITalvoBinHexEncodingFormat> binHex;
    const HRESULT hr = As(format, binHex);
    return FAILED(hr) ? hr : binHex->put_HeaderDataForkLength(fileSize);
}

const struct Format {
    const char* name;
    const CLSID& clsid;
    const char* extension;
    Prepare prepare;
} kFormats[] = {
    {"UU", CLSID_TalvoUUEncodingFormat, ".uu", nullptr},
    {"XX", CLSID_TalvoXXEncodingFormat, ".xx", nullptr},
    {"Base64", CLSID_TalvoBase64EncodingFormat, ".b64", nullptr},
    {"hexadecimal", CLSID_TalvoHexaEncodingFormat, ".hex", nullptr},
    {"quoted-printable", CLSID_TalvoQuotedPrintableEncodingFormat, ".qp", &WithoutLines},
    {"BinHex 4.0", CLSID_TalvoBinHexEncodingFormat, ".hqx", &WithLength},
};

OwnedBstr Bstr(const std::string& narrow) {
    const int size = static_cast<int>(narrow.size());
    const int length = MultiByteToWideChar(CP_ACP, 0, narrow.data(), size, nullptr, 0);
    OwnedBstr text(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (text) MultiByteToWideChar(CP_ACP, 0, narrow.data(), size, text.get(), length);
    return text;
}

struct Result {
    HRESULT code = S_OK;
    DWORD written = 0;
    double milliseconds = 0;
};

// The whole file. A destination that ends in a backslash is a folder: the name comes from the format object.
Result Convert(ITalvoBinaryEncoding& component, const fs::path& source, ETBFileProcessing action,
               const std::string& destination) {
    Result result;
    DWORD read = 0;
    const auto start = std::chrono::steady_clock::now();
    result.code = component.ProcessFile(Bstr(source.string()).get(), 0, 0, action, TRUE, Bstr(destination).get(), FALSE,
                                        &read, &result.written);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    result.milliseconds = took.count();
    return result;
}

bool Same(const fs::path& a, const fs::path& b) {
    std::ifstream first(a, std::ios::binary);
    std::ifstream second(b, std::ios::binary);
    using Bytes = std::istreambuf_iterator<char>;
    return first && second && std::equal(Bytes(first), {}, Bytes(second), {});
}

// There and back in one format; a row of the table.
bool RoundTrip(ITalvoBinaryEncoding& component, const Format& row, const fs::path& file, const fs::path& folder) {
    Owner<ITalvoEncodeData> format;
    HRESULT hr = Create(row.clsid, format);
    const auto size = static_cast<DWORD>(fs::file_size(file));
    if (SUCCEEDED(hr) && row.prepare) hr = row.prepare(*format, size);
    if (SUCCEEDED(hr)) hr = component.putref_EncodingFormat(format.get());

    const fs::path text = folder / (file.filename().string() + row.extension);
    const fs::path back = folder / "back" / file.filename();
    fs::remove(back);
    Result encoded{hr};
    Result decoded{hr};
    if (SUCCEEDED(hr)) encoded = Convert(component, file, bfpEncode, text.string());
    if (encoded.code == S_OK) decoded = Convert(component, text, bfpDecode, back.parent_path().string() + "\\");
    const HRESULT code = encoded.code != S_OK ? encoded.code : decoded.code;
    const bool same = code == S_OK && Same(file, back);

    std::printf("  %-17s %10lu %10lu %8.1f ms %8.1f ms  ", row.name, static_cast<unsigned long>(size),
                static_cast<unsigned long>(encoded.written), encoded.milliseconds, decoded.milliseconds);
    if (code != S_OK) std::printf("0x%08lX\n", static_cast<unsigned long>(static_cast<DWORD>(code)));
    if (code == S_OK) std::printf("%s\n", same ? "identical" : "DIFFERENT");
    return same;
}

int RunAll(const fs::path& file, const fs::path& folder) {
    Owner<ITalvoBinaryEncoding> component;
    const HRESULT hr = Create(CLSID_TalvoBinaryEncoding, component);
    if (FAILED(hr)) {
        std::fprintf(stderr, "The component is not registered: 0x%08lX\n",
                     static_cast<unsigned long>(static_cast<DWORD>(hr)));
        return 1;
    }
    fs::create_directories(folder / "back");
    std::printf("  %-17s %10s %10s %11s %11s\n", "format", "bytes in", "text bytes", "encode", "decode");
    bool good = true;
    for (const Format& row : kFormats) good = RoundTrip(*component, row, file, folder) && good;
    return good ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: convert_files FILE FOLDER\n");
        return 2;
    }
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
    int code = 1;
    try {
        code = RunAll(arguments[1], arguments[2]);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s\n", problem.what());
    }
    CoUninitialize();
    return code;
}
