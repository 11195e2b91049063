// The registered module is asked for by ProgID, so that any module that answers to the names will do.
#include "cli/server_access.h"

#include <string_view>

#include "cli/carried_name.h"
#include "cli/messages.h"

namespace talvo {
namespace {

// What the module is called on the systems it is built for.
constexpr const char* kModuleNames[] = {"libTalvoBinaryEncoding.so", "TalvoBinaryEncoding.dll"};
constexpr DWORD kLongestPath = 32768;

std::string PathOf(HMODULE module) {
    std::string path(kLongestPath, '\0');
    path.resize(GetModuleFileName(module, path.data(), kLongestPath));
    return path;
}

std::string FolderOfCommand() {
    const std::string path = PathOf(nullptr);
    return path.substr(0, path.find_last_of(kSeparators) + 1);
}

template <class Function>
Function* Entry(HMODULE module, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

HRESULT CreateRegistered(const ClassName& name, REFIID iid, void** object) {
    CLSID id;
    if (const HRESULT hr = CLSIDFromProgID(name.progId, &id); FAILED(hr)) return hr;
    return CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, iid, object);
}

std::string Narrow(const OLECHAR* text) { return std::string(text, text + std::char_traits<OLECHAR>::length(text)); }

// The module that is registered for the component; empty when the registry does not say.
std::string RegisteredPath() {
    CLSID id;
    OLECHAR braced[39];
    if (FAILED(CLSIDFromProgID(kComponentClass.progId, &id)) || StringFromGUID2(id, braced, 39) == 0) return {};
    const std::string name = "CLSID\\" + Narrow(braced) + "\\InprocServer32";
    com::UniqueKey key;
    if (RegOpenKeyEx(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_QUERY_VALUE, key.Put()) != ERROR_SUCCESS) return {};
    std::string path(kLongestPath, '\0');
    DWORD size = kLongestPath;
    if (RegQueryValueEx(key.Get(), nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(path.data()), &size) !=
        ERROR_SUCCESS)
        return {};
    return path.c_str();
}

}  // namespace

DWORD ServerModule::Load(const std::string& path) {
    const bool bare = path.find_first_of(kSeparators) == std::string::npos;
    handle_.Reset(LoadLibrary(((bare ? "./" : "") + path).c_str()));
    return handle_ ? ERROR_SUCCESS : GetLastError();
}

HRESULT ServerModule::Create(REFCLSID classId, REFIID iid, void** object) const {
    const auto getClassObject = Entry<decltype(DllGetClassObject)>(handle_.Get(), "DllGetClassObject");
    if (!getClassObject) return CO_E_ERRORINDLL;
    com::ComPtr<IClassFactory> factory;
    if (const HRESULT hr = getClassObject(classId, __uuidof(IClassFactory), factory.PutVoid()); FAILED(hr)) return hr;
    return factory->CreateInstance(nullptr, iid, object);
}

HRESULT ServerModule::Call(const char* entry) const {
    const auto function = Entry<HRESULT STDAPICALLTYPE()>(handle_.Get(), entry);
    return function ? function() : CO_E_ERRORINDLL;
}

std::string ServerModule::Path() const { return PathOf(handle_.Get()); }

DWORD LoadModule(const std::string& given, ServerModule& module, std::string& tried) {
    if (!given.empty()) return module.Load(tried = given);
    const std::string folder = FolderOfCommand();
    for (const char* const name : kModuleNames) {
        if (GetFileAttributes((folder + name).c_str()) != INVALID_FILE_ATTRIBUTES)
            return module.Load(tried = folder + name);
    }
    tried = folder + kModuleNames[0] + " or " + kModuleNames[1];
    return ERROR_MOD_NOT_FOUND;
}

Failure Server::Connect(const std::string& given) {
    HRESULT hr = library_.Result();
    if (SUCCEEDED(hr) && given.empty() && SUCCEEDED(Try("through the class registry"))) return {};
    if (SUCCEEDED(hr)) hr = TryModule(given);
    return Created("the component", hr);
}

HRESULT Server::TryModule(const std::string& given) {
    place_ = given.empty() ? "beside the command" : "given by --module";
    registered_ = false;
    std::string tried;
    const DWORD code = LoadModule(given, module_, tried);
    if (code == ERROR_SUCCESS) return Try("from " + tried);
    failures_.push_back("from " + tried + ": " + DescribeError(code));
    return HRESULT_FROM_WIN32(code);
}

HRESULT Server::Try(const std::string& way) {
    com::ComPtr<ITalvoBinaryEncoding> component;
    const HRESULT hr = Create(kComponentClass, __uuidof(ITalvoBinaryEncoding), component.PutVoid());
    if (FAILED(hr)) failures_.push_back(way + ": " + DescribeSystemResult(hr));
    return hr;
}

Failure Server::CreateComponent(com::ComPtr<ITalvoBinaryEncoding>& component) const {
    return Created("the component", Create(kComponentClass, __uuidof(ITalvoBinaryEncoding), component.PutVoid()));
}

Failure Server::CreateFormat(const FormatClass& format, com::ComPtr<ITalvoEncodeData>& object) const {
    return Created("format " + std::string(NameOf(format.format)),
                   Create(format.name, __uuidof(ITalvoEncodeData), object.PutVoid()));
}

HRESULT Server::Create(const ClassName& name, REFIID iid, void** object) const {
    return registered_ ? CreateRegistered(name, iid, object) : module_.Create(*name.id, iid, object);
}

// A failure names the places that were tried.
Failure Server::Created(const std::string& what, HRESULT result) const {
    if (SUCCEEDED(result)) return {};
    Failure failure{ExitCode::Unavailable, {what + " cannot be created: " + DescribeSystemResult(result)}};
    for (const std::string& attempt : failures_) failure.messages.push_back("  " + attempt);
    return failure;
}

std::string Server::Origin() const { return (registered_ ? RegisteredPath() : module_.Path()) + " (" + place_ + ")"; }

}  // namespace talvo
