// The module under test in this process, and the small things that tests of its objects need: objects by class, bytes
// and text, result codes by name, the thread's error information as one line.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <string>
#include <string_view>

#include "TalvoBinaryEncoding.h"
#include "com/com_ptr.h"
#include "com/unique.h"
#include "tests/support/code_name.h"
#include "tests/support/text.h"

namespace talvo::test {

// The thread's error information, taken away: "none", "stale" when it is what LeaveStaleError has left, else
// "source: description". A GUID that is not all zero is shown too.
std::string TakeError();
void LeaveStaleError();
// What TakeError answers after a method of the class has reported the code.
std::string ErrorOf(std::string_view progId, HRESULT code);

class Module {
public:
    // The one named by the environment variable TALVO_MODULE, loaded and registered while the tests run.
    static Module& Get();
    // False, with a line on standard error, when the environment or the module is not as it must be.
    bool Start();
    bool Stop();
    bool Load(std::string_view path);

    HMODULE Handle() const { return handle_; }
    const std::string& Path() const { return path_; }
    HRESULT ClassObject(REFCLSID clsid, REFIID iid, void** object) const;
    bool CanUnload() const;
    HRESULT Register() const;
    HRESULT Unregister() const;

private:
    HMODULE handle_ = nullptr;
    std::string path_;
};

// An export of a loaded module.
template <class Function>
Function* Export(HMODULE module, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// A new object through the class registry; null when that fails.
template <class Interface>
com::ComPtr<Interface> Create(REFCLSID clsid) {
    com::ComPtr<Interface> object;
    static_cast<void>(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), object.PutVoid()));
    return object;
}

template <class Interface, class From>
com::ComPtr<Interface> As(const com::ComPtr<From>& object) {
    com::ComPtr<Interface> other;
    if (object) static_cast<void>(object->QueryInterface(__uuidof(Interface), other.PutVoid()));
    return other;
}

// COM for a thread that a test starts.
class ComThread {
public:
    ComThread() { static_cast<void>(CoInitializeEx(nullptr, COINIT_MULTITHREADED)); }
    ~ComThread() { CoUninitialize(); }
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;
};

// Result, output and consumed count of one conversion call. The out parameters held garbage before, the buffer is freed.
struct Converted {
    std::string Code;
    std::string Bytes = {};
    DWORD Consumed = 0;
    bool operator==(const Converted&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Converted& converted);

Converted Process(ITalvoProcessData* processor, std::string_view source, bool end, DWORD header = 0, DWORD footer = 0);
Converted Revert(ITalvoProcessData* processor, std::string_view source, bool end);

// What a call of conversion type has left in its out parameters, as text; frees the block. "(block of 0)" and "(null
// with a size)" are defects.
std::string TakeBlock(BYTE* block, DWORD size);

}  // namespace talvo::test
