// How the command reaches the component: through the class registry like any client, or, where nothing usable is
// registered, from the module that lies beside the command.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <string>
#include <vector>

#include "TalvoBinaryEncoding.h"

#include "cli/failure.h"
#include "cli/format_classes.h"
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
    // Finds a road on which a component can be created; `given` forces a module file.
    HRESULT Connect(const std::string& given);
    // A component and a format object by that road.
    HRESULT CreateComponent(com::ComPtr<ITalvoBinaryEncoding>& component) const;
    HRESULT CreateFormat(const FormatClass& format, com::ComPtr<ITalvoEncodeData>& object) const;

    // "PATH (registered)": where the component was found.
    std::string Origin() const;
    // Why each road that was tried led nowhere.
    const std::vector<std::string>& Failures() const { return failures_; }

private:
    HRESULT Create(const ClassName& name, REFIID iid, void** object) const;
    HRESULT ConnectToModule(const std::string& given);

    ServerModule module_;
    const char* road_ = "";
    bool registered_ = true;
    std::vector<std::string> failures_;
};

// A failure to create something, with the roads that were tried.
Failure Unavailable(const Server& server, const std::string& what, HRESULT result);

}  // namespace talvo
