// The one table of codes that tests name: ours, from their list, and the system's.
#include "tests/support/code_name.h"

#include <objbase.h>
#include <oleauto.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "TalvoBinaryEncoding.h"
#include "server/results/result_codes.h"

namespace talvo::test {
namespace {

struct CodeRow {
    HRESULT Code;
    const char* Name;
    const char* Text;  // null: the system's
};

constexpr CodeRow kCodes[] = {
// clang-format off
#define CODE(name) {name, #name, nullptr},
    CODE(S_OK) CODE(S_FALSE) CODE(S_PASSTHROUGH) CODE(E_NOTIMPL) CODE(E_NOINTERFACE) CODE(E_POINTER) CODE(E_FAIL)
    CODE(E_UNEXPECTED) CODE(E_OUTOFMEMORY) CODE(E_INVALIDARG) CODE(CLASS_E_NOAGGREGATION)
    CODE(CLASS_E_CLASSNOTAVAILABLE) CODE(DISP_E_UNKNOWNINTERFACE) CODE(DISP_E_MEMBERNOTFOUND)
    CODE(DISP_E_PARAMNOTFOUND) CODE(DISP_E_PARAMNOTOPTIONAL) CODE(DISP_E_TYPEMISMATCH) CODE(DISP_E_UNKNOWNNAME)
    CODE(DISP_E_EXCEPTION) CODE(DISP_E_OVERFLOW) CODE(DISP_E_BADINDEX) CODE(DISP_E_BADPARAMCOUNT)
    CODE(TYPE_E_LIBNOTREGISTERED)
#undef CODE
// clang-format on
#define RESULT_CODE(name, value, text) {static_cast<HRESULT>(value), #name, text},
#include "server/results/result_codes.def"
#undef RESULT_CODE
};

const CodeRow* Find(HRESULT code) {
    const auto row = std::ranges::find(kCodes, code, &CodeRow::Code);
    return row == std::end(kCodes) ? nullptr : row;
}

}  // namespace

std::string Name(HRESULT code) {
    if (const CodeRow* const row = Find(code)) return row->Name;
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lx", static_cast<unsigned long>(static_cast<DWORD>(code)));
    return text;
}

HRESULT CodeOf(std::string_view name) {
    const auto row = std::ranges::find(kCodes, name, &CodeRow::Name);
    return row == std::end(kCodes) ? E_FAIL : row->Code;
}

std::string MessageText(HRESULT code) {
    const CodeRow* const row = Find(code);
    if (row && row->Text) return std::string(row->Text) + "\r\n";
    char text[512];
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(code), 0, text, sizeof(text), nullptr);
    return std::string(text, length);
}

}  // namespace talvo::test
