// See module_fixture.h.
#include "tests/support/module/module_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace talvo::test {
namespace {

struct CodeRow {
    HRESULT Code;
    const char* Name;
    const char* Text;  // null: the system's
};

constexpr CodeRow kCodes[] = {
    {S_OK, "S_OK", nullptr},
    {S_FALSE, "S_FALSE", nullptr},
    {S_PASSTHROUGH, "S_PASSTHROUGH", nullptr},
    {E_NOTIMPL, "E_NOTIMPL", nullptr},
    {E_NOINTERFACE, "E_NOINTERFACE", nullptr},
    {E_POINTER, "E_POINTER", nullptr},
    {E_FAIL, "E_FAIL", nullptr},
    {E_UNEXPECTED, "E_UNEXPECTED", nullptr},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY", nullptr},
    {E_INVALIDARG, "E_INVALIDARG", nullptr},
    {CLASS_E_NOAGGREGATION, "CLASS_E_NOAGGREGATION", nullptr},
    {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE", nullptr},
    {DISP_E_UNKNOWNINTERFACE, "DISP_E_UNKNOWNINTERFACE", nullptr},
    {DISP_E_MEMBERNOTFOUND, "DISP_E_MEMBERNOTFOUND", nullptr},
    {DISP_E_PARAMNOTFOUND, "DISP_E_PARAMNOTFOUND", nullptr},
    {DISP_E_PARAMNOTOPTIONAL, "DISP_E_PARAMNOTOPTIONAL", nullptr},
    {DISP_E_TYPEMISMATCH, "DISP_E_TYPEMISMATCH", nullptr},
    {DISP_E_UNKNOWNNAME, "DISP_E_UNKNOWNNAME", nullptr},
    {DISP_E_EXCEPTION, "DISP_E_EXCEPTION", nullptr},
    {DISP_E_BADINDEX, "DISP_E_BADINDEX", nullptr},
    {DISP_E_BADPARAMCOUNT, "DISP_E_BADPARAMCOUNT", nullptr},
    {TYPE_E_LIBNOTREGISTERED, "TYPE_E_LIBNOTREGISTERED", nullptr},
#define RESULT_CODE(name, value, text) {static_cast<HRESULT>(value), #name, text},
#include "server/results/result_codes.def"
#undef RESULT_CODE
};

const CodeRow* Find(HRESULT code) {
    for (const CodeRow& row : kCodes) {
        if (row.Code == code) return &row;
    }
    return nullptr;
}

std::string SystemText(HRESULT code) {
    char text[512];
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(code), 0, text, sizeof(text), nullptr);
    return std::string(text, length);
}

constexpr const char* kStale = "stale";

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

bool Complain(const char* what, HRESULT code = S_OK) {
    std::fprintf(stderr, "%s%s%s\n", what, FAILED(code) ? ": " : "", FAILED(code) ? Name(code).c_str() : "");
    return false;
}

}  // namespace

WideText Widen(std::string_view ascii) { return WideText(ascii.begin(), ascii.end()); }

std::string Narrow(std::basic_string_view<WCHAR> text) {
    std::string narrow;
    for (const WCHAR character : text) narrow += character < 0x80 ? static_cast<char>(character) : '?';
    return narrow;
}

com::UniqueBstr Bstr(std::string_view ascii) {
    const WideText wide = Widen(ascii);
    return com::UniqueBstr(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
}

std::string GuidText(REFGUID guid) {
    WCHAR text[64];
    const int length = StringFromGUID2(guid, text, 64);  // with its terminator
    return length > 0 ? Narrow({text, static_cast<size_t>(length - 1)}) : "";
}

std::string Name(HRESULT code) {
    if (const CodeRow* const row = Find(code)) return row->Name;
    std::ostringstream text;
    text << "0x" << std::hex << std::setw(8) << std::setfill('0') << static_cast<uint32_t>(code);
    return text.str();
}

std::string MessageText(HRESULT code) {
    const CodeRow* const row = Find(code);
    return row && row->Text ? std::string(row->Text) + "\r\n" : SystemText(code);
}

std::string TakeError() {
    com::ComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, error.Put()) != S_OK) return "none";
    com::UniqueBstr source;
    com::UniqueBstr description;
    GUID guid = IID_IUnknown;
    error->GetSource(source.Put());
    error->GetDescription(description.Put());
    error->GetGUID(&guid);
    const auto text = [](const com::UniqueBstr& from) { return Narrow({from.Get(), SysStringLen(from.Get())}); };
    if (text(source) == kStale) return kStale;
    return text(source) + ": " + text(description) + (IsEqualGUID(guid, GUID_NULL) ? "" : " " + GuidText(guid));
}

void LeaveStaleError() {
    com::ComPtr<ICreateErrorInfo> creator;
    com::ComPtr<IErrorInfo> error;
    if (FAILED(CreateErrorInfo(creator.Put()))) return;
    WideText source = Widen(kStale);
    creator->SetSource(source.data());
    if (SUCCEEDED(creator.As(error))) SetErrorInfo(0, error.Get());
}

std::string ErrorOf(std::string_view progId, HRESULT code) {
    return code == S_OK ? "none" : std::string(progId) + ": " + MessageText(code);
}

Module& Module::Get() {
    static Module module;
    return module;
}

bool Module::Start() {
    path_ = Variable("TALVO_MODULE");
    // The registry of the person who runs the tests is never touched.
    if (path_.empty() || Variable("TALVO_REGISTRY").empty())
        return Complain("TALVO_MODULE must name the module, and TALVO_REGISTRY a registry file for the tests");
    handle_ = LoadLibraryW(Widen(path_).c_str());
    if (!handle_) return Complain("the module cannot be loaded", HRESULT_FROM_WIN32(GetLastError()));
    char full[1024];
    path_.assign(full, GetModuleFileNameA(handle_, full, sizeof(full)));
    const HRESULT hr = Register();
    return SUCCEEDED(hr) || Complain("the module cannot be registered", hr);
}

bool Module::Stop() {
    const HRESULT hr = Unregister();
    if (FAILED(hr)) return Complain("the module cannot be unregistered", hr);
    return CanUnload() || Complain("objects of the module are still alive");
}

HRESULT Module::ClassObject(REFCLSID clsid, REFIID iid, void** object) const {
    return Export<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>(handle_, "DllGetClassObject")(clsid, iid, object);
}

bool Module::CanUnload() const { return Export<HRESULT STDAPICALLTYPE()>(handle_, "DllCanUnloadNow")() == S_OK; }
HRESULT Module::Register() const { return Export<HRESULT STDAPICALLTYPE()>(handle_, "DllRegisterServer")(); }
HRESULT Module::Unregister() const { return Export<HRESULT STDAPICALLTYPE()>(handle_, "DllUnregisterServer")(); }

std::ostream& operator<<(std::ostream& out, const Converted& converted) {
    return out << converted.Code << " \"" << converted.Bytes << "\" consumed " << converted.Consumed;
}

std::string TakeBlock(BYTE* block, DWORD size) {
    if (!block) return size == 0 ? "" : "(null with a size)";
    const std::string bytes(reinterpret_cast<const char*>(block), size);
    CoTaskMemFree(block);
    return size == 0 ? "(block of 0)" : bytes;
}

namespace {

const BYTE* Data(std::string_view source) {
    return source.empty() ? nullptr : reinterpret_cast<const BYTE*>(source.data());
}

BYTE g_garbage;  // out parameters point here before a call

}  // namespace

Converted Process(ITalvoProcessData* processor, std::string_view source, bool end, DWORD header, DWORD footer) {
    BYTE* block = &g_garbage;
    DWORD size = 0xCCCCCCCC;
    const HRESULT hr =
        processor->Process(Data(source), static_cast<DWORD>(source.size()), end, header, footer, &block, &size);
    return {Name(hr), TakeBlock(block, size), 0};
}

Converted Revert(ITalvoProcessData* processor, std::string_view source, bool end) {
    BYTE* block = &g_garbage;
    DWORD size = 0xCCCCCCCC;
    DWORD consumed = 0xCCCCCCCC;
    const HRESULT hr =
        processor->Revert(Data(source), static_cast<DWORD>(source.size()), end, &block, &size, &consumed);
    return {Name(hr), TakeBlock(block, size), consumed};
}

}  // namespace talvo::test
