// A module with resources, a message table and a DllMain that keeps count, for the tests of the stand-in.
#include <windows.h>

#include <platform_image.h>

#include <string>

namespace {

const std::string ready = "ready";  // made before DllMain is told, gone after
int* log = nullptr;
HINSTANCE instance = nullptr;
int attached = 0;

const PlatformMessage kMessages[] = {{0x80044001, "Invalid character in the data."}, {2, "Ours before the system's."}};
const char kScript[] = "script";
const PlatformResource kResources[] = {
    {u"REGISTRY", 102, kScript, 6},
    {u"TypeLib", 1, kScript, 3},
    {MAKEINTRESOURCEW(11), 1, kMessages, sizeof kMessages},
};

}  // namespace

const PlatformImage platform_image = {kResources, 3};

extern "C" BOOL WINAPI DllMain(HINSTANCE hinst, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) attached += ready == "ready";
    if (reason == DLL_PROCESS_DETACH && log) *log += ready == "ready";
    instance = hinst;
    return TRUE;
}

extern "C" HINSTANCE SampleInstance() { return attached == 1 ? instance : nullptr; }
extern "C" void SampleLog(int* detachments) { log = detachments; }
