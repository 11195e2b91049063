// Class objects of in-process servers: found through CLSID\{...}\InprocServer32, loaded once, kept until they say that they
// may go. A server is not unloaded while a call of ours is inside it.
#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "platform/com_library.h"
#include "platform/registered_text.h"

namespace platform {
namespace {

class Server {
public:
    explicit Server(std::u16string path) : path_(std::move(path)) {}
    ~Server() {
        if (module_) FreeLibrary(module_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    HRESULT Load() {
        const std::lock_guard hold(loading_);
        if (getClassObject_) return S_OK;
        if (!module_) module_ = LoadLibraryW(path_.c_str());
        if (!module_) return CO_E_DLLNOTFOUND;
        getClassObject_ = Export<GetClassObject>("DllGetClassObject");
        canUnloadNow_ = Export<CanUnloadNow>("DllCanUnloadNow");
        return getClassObject_ ? S_OK : CO_E_ERRORINDLL;
    }

    HRESULT ClassObject(REFCLSID clsid, REFIID riid, void** object) const {
        return getClassObject_(clsid, riid, object);
    }
    // One that failed to load has nothing in use; one that does not tell stays.
    bool MayGo() {
        const std::lock_guard hold(loading_);
        return !getClassObject_ || (canUnloadNow_ && canUnloadNow_() == S_OK);
    }
    const std::u16string& Path() const { return path_; }

private:
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
    using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();

    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module_, name)));
    }

    const std::u16string path_;
    std::mutex loading_;
    HMODULE module_ = nullptr;
    GetClassObject getClassObject_ = nullptr;
    CanUnloadNow canUnloadNow_ = nullptr;
};

class Servers {
public:
    static Servers& Instance() {
        static Servers* const servers = new Servers;  // stays: servers must not be unloaded while the process ends
        return *servers;
    }

    // The server of that file. Whoever holds it keeps it from being unloaded.
    std::shared_ptr<Server> Get(const std::u16string& path) {
        const std::lock_guard hold(lock_);
        const auto found = std::find_if(servers_.begin(), servers_.end(),
                                        [&](const std::shared_ptr<Server>& server) { return server->Path() == path; });
        if (found != servers_.end()) return *found;
        servers_.push_back(std::make_shared<Server>(path));
        return servers_.back();
    }

    // The servers in use are told by their count of holders: the list alone makes one.
    void FreeUnused() {
        std::vector<std::shared_ptr<Server>> idle;  // unloaded outside the lock, as that runs the servers' own code
        const std::lock_guard hold(freeing_);
        {
            const std::lock_guard holdList(lock_);
            for (const std::shared_ptr<Server>& server : servers_) {
                if (server.use_count() == 1 && server->MayGo()) idle.push_back(server);
            }
            std::erase_if(servers_, [&](const std::shared_ptr<Server>& server) {
                return std::find(idle.begin(), idle.end(), server) != idle.end();
            });
        }
        idle.clear();
    }

private:
    std::mutex freeing_;
    std::mutex lock_;
    std::vector<std::shared_ptr<Server>> servers_;
};

HRESULT Create(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid, void** object) {
    if (!(context & CLSCTX_INPROC_SERVER)) return REGDB_E_CLASSNOTREG;
    std::u16string path;
    if (const HRESULT hr = ReadClassEntry(clsid, u"InprocServer32", path); FAILED(hr)) return hr;
    const std::shared_ptr<Server> server = Servers::Instance().Get(path);  // held until its factory is released
    if (const HRESULT hr = server->Load(); FAILED(hr)) return hr;
    IClassFactory* factory = nullptr;
    HRESULT hr = server->ClassObject(clsid, IID_PPV_ARGS(&factory));
    if (FAILED(hr)) return hr;
    hr = factory->CreateInstance(outer, riid, object);
    factory->Release();
    return hr;
}

}  // namespace
}  // namespace platform

WINOLEAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!platform::IsComInitialized()) return CO_E_NOTINITIALIZED;
    return platform::OrOutOfMemory([&] { return platform::Create(rclsid, pUnkOuter, dwClsContext, riid, ppv); });
}

WINOLEAPI_(void) CoFreeUnusedLibraries(void) {
    static_cast<void>(platform::OrOutOfMemory([] { return platform::Servers::Instance().FreeUnused(), S_OK; }));
}
