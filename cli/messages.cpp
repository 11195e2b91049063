// Texts of codes come from the thread's error information or from the system, names from the list of result codes.
#include "cli/messages.h"

#include <oleauto.h>

#include <algorithm>
#include <iterator>

#include "TalvoBinaryEncoding.h"

#include "cli/streams.h"
#include "cli/text.h"
#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo {
namespace {

struct CodeName {
    HRESULT code;
    const char* name;
};

#define PLATFORM_CODE(name) \
    { name, #name }
#define RESULT_CODE(name, value, text) {static_cast<HRESULT>(value), #name},
constexpr CodeName kNames[] = {
#include "server/results/result_codes.def"
    PLATFORM_CODE(S_FALSE),
    PLATFORM_CODE(E_NOTIMPL),
    PLATFORM_CODE(E_NOINTERFACE),
    PLATFORM_CODE(E_POINTER),
    PLATFORM_CODE(E_FAIL),
    PLATFORM_CODE(E_UNEXPECTED),
    PLATFORM_CODE(E_ACCESSDENIED),
    PLATFORM_CODE(E_OUTOFMEMORY),
    PLATFORM_CODE(E_INVALIDARG),
    PLATFORM_CODE(CLASS_E_CLASSNOTAVAILABLE),
    PLATFORM_CODE(REGDB_E_READREGDB),
    PLATFORM_CODE(REGDB_E_WRITEREGDB),
    PLATFORM_CODE(REGDB_E_CLASSNOTREG),
    PLATFORM_CODE(CO_E_NOTINITIALIZED),
    PLATFORM_CODE(CO_E_CLASSSTRING),
    PLATFORM_CODE(CO_E_DLLNOTFOUND),
    PLATFORM_CODE(CO_E_ERRORINDLL),
    PLATFORM_CODE(TYPE_E_REGISTRYACCESS),
    PLATFORM_CODE(TYPE_E_LIBNOTREGISTERED),
    PLATFORM_CODE(TYPE_E_CANTLOADLIBRARY),
};
#undef RESULT_CODE
#undef PLATFORM_CODE

std::string WithoutLineEnd(std::string text) {
    text.erase(text.find_last_not_of("\r\n ") + 1);
    return text;
}

// Takes the thread's error information; empty where there is none.
std::string PublishedText() {
    com::ComPtr<IErrorInfo> info;
    com::UniqueBstr description;
    if (GetErrorInfo(0, info.Put()) != S_OK || FAILED(info->GetDescription(description.Put()))) return {};
    return WithoutLineEnd(Narrow(description.Get()));
}

std::string SystemText(DWORD code) {
    char text[512];
    const DWORD size = FormatMessage(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text,
                                     static_cast<DWORD>(std::size(text)), nullptr);
    return size == 0 ? "The system has no text for this code." : WithoutLineEnd(std::string(text, size));
}

std::string Describe(HRESULT result, const std::string& text) {
    const auto row = std::ranges::find(kNames, result, &CodeName::code);
    const std::string value = "0x" + InBase(16, static_cast<ULONG>(result), 8);
    return (row == std::end(kNames) ? value : std::string(row->name) + " (" + value + ")") + ": " + text;
}

// Whose fault it is: the data's, the command line's, or the component's.
ExitCode ExitCodeFor(HRESULT result) {
    switch (result) {
        case berInvalidCharacterInData:
        case berInvalidEndOfData:
        case berRemainingData:
        case berInvalidLineLengthInData:
        case berInvalidNumberOfCharacterOnLine:
        case berInvalidChecksum:
        case berInvalidHeaderChecksum:
        case berInvalidLengthInHeader:
            return ExitCode::BadData;
        case berInvalidEndOfLineType:
        case berEmptyFileNameInHeader:
            return ExitCode::Usage;
        default:
            return ExitCode::Unavailable;
    }
}

}  // namespace

Failure FileFailure(const std::string& name, const char* action, DWORD code) {
    return {ExitCode::FileFailed, {name + ": cannot " + action + ": " + DescribeError(code)}};
}

Failure ResultFailure(const std::string& what, HRESULT result) {
    return {ExitCodeFor(result), {what + ": " + DescribeResult(result)}};
}

void Say(std::string_view text) {
    const std::string line = "talvo: " + std::string(text) + "\n";
    static_cast<void>(WriteText(STD_ERROR_HANDLE, line));  // when this fails, nobody is left to tell
}

ExitCode Print(std::string_view text) {
    const DWORD code = WriteText(STD_OUTPUT_HANDLE, text);
    if (code == ERROR_SUCCESS) return ExitCode::Done;
    if (!ReaderIsGone(code)) Say("standard output: cannot write: " + DescribeError(code));
    return ExitCode::FileFailed;
}

std::string DescribeError(DWORD code) { return SystemText(code) + " (error " + std::to_string(code) + ")"; }

std::string DescribeResult(HRESULT result) {
    const std::string text = PublishedText();
    return text.empty() ? DescribeSystemResult(result) : Describe(result, text);
}

std::string DescribeSystemResult(HRESULT result) { return Describe(result, SystemText(static_cast<DWORD>(result))); }

}  // namespace talvo
