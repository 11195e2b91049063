// Linked into every module: calls the module's DllMain when it is loaded and unloaded, as a C runtime's entry does. The
// object file must come last on the link line, so that the module's own static objects are ready before DllMain is
// told of the attach; being made last, this one is destroyed first, so they still live when it is told of the detach.
#include <windows.h>

#include <platform_image.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

namespace {

HINSTANCE Instance() { return reinterpret_cast<HINSTANCE>(const_cast<PlatformImage*>(&platform_image)); }

// What DllMain answers is not asked: a constructor cannot refuse the load.
struct Entry {
    Entry() { DllMain(Instance(), DLL_PROCESS_ATTACH, nullptr); }
    // The last parameter tells a process that ends from a module that is unloaded: the objects that a client still holds
    // stay usable then.
    ~Entry() { DllMain(Instance(), DLL_PROCESS_DETACH, platform_is_unloading() ? nullptr : Instance()); }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
} entry;

}  // namespace
