// How the command reaches the component: through the class registry like any client, or, where nothing usable is
// registered, from the module that lies beside the command.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <string>
#include <vector>

#include "TalvoBinaryEncoding.h"

#include "cli/format_classes.h"
#include "cli/messages.h"
#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo {

// The COM library, for as long as this lives.
class ComLibrary {
public:
    ComLibrary() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComLibrary() {
        if (SUCCEEDED(result_)) CoUninitialize();
    }
    ComLibrary(const ComLibrary&) = delete;
    ComLibrary& operator=(const ComLibrary&) = delete;
    HRESULT Result() const { return result_; }

private:
    HRESULT result_;
};

// A module file in memory and the entry functions of an in-process server.
class ServerModule {
public:
    // A name without a folder means a file of the current one. Windows code, 0 for success.
    [[nodiscard]] DWORD Load(const std::string& path);
    HRESULT Create(REFCLSID classId, REFIID iid, void** object) const;
    // DllRegisterServer or DllUnregisterServer.
    HRESULT Call(const char* entry) const;
    std::string Path() const;

private:
    struct Traits {
        using Value = HMODULE;
        static constexpr Value Null() noexcept { return nullptr; }
        static void Close(Value value) noexcept { FreeLibrary(value); }
    };
    com::UniqueAny<Traits> handle_;
};

// Loads `given`, or without it the module beside the command. The Windows code of the last attempt; `tried` names it.
[[nodiscard]] DWORD LoadModule(const std::string& given, ServerModule& module, std::string& tried);

// Must outlive what it created.
class Server {
public:
    // Finds a module that creates components: the registered one, else the one beside the command; only `given`, if there
    // is one.
    Failure Connect(const std::string& given);
    // A component and a format object of that module.
    Failure CreateComponent(com::ComPtr<ITalvoBinaryEncoding>& component) const;
    Failure CreateFormat(const FormatClass& format, com::ComPtr<ITalvoEncodeData>& object) const;

    // "PATH (registered)": where the component was found.
    std::string Origin() const;
    // Why the places that were tried before were of no use.
    const std::vector<std::string>& Failures() const { return failures_; }

private:
    HRESULT Try(const std::string& way);
    HRESULT TryModule(const std::string& given);
    HRESULT Create(const ClassName& name, REFIID iid, void** object) const;
    Failure Created(const std::string& what, HRESULT result) const;

    ComLibrary library_;  // before the module, so that it goes last
    ServerModule module_;
    const char* place_ = "registered";
    bool registered_ = true;
    std::vector<std::string> failures_;
};

}  // namespace talvo
