// See user_interface.h.
#include "tests/windows/user_interface.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <thread>

namespace talvo::test {

void OnUiThread(const std::function<void()>& function) {
    std::thread([&] {
        OleInitialize(nullptr);
        function();
        SetErrorInfo(0, nullptr);
        OleUninitialize();
    }).join();
}

bool PumpUntil(const std::function<bool()>& done) {
    return WaitUntil([&] {
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
        return done();
    });
}

bool WaitUntil(const std::function<bool()>& done) {
    const DWORD start = GetTickCount();
    while (!done()) {
        if (GetTickCount() - start > 10000) return false;
        Sleep(5);
    }
    return true;
}

// --- imports -------------------------------------------------------------------------------------------------------

ImportHook::ImportHook(const char* library, const char* name, void* replacement) {
    auto* const base = reinterpret_cast<BYTE*>(Module::Get().Handle());
    const auto* const headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD start = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    original_ = Export<void>(GetModuleHandleA(library), name);
    for (auto* row = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + start); row->Name && !slot_; ++row) {
        auto* address = reinterpret_cast<void**>(base + row->FirstThunk);
        while (*address && *address != original_) ++address;
        if (*address) slot_ = address;
    }
    if (slot_) Write(replacement);
}

ImportHook::~ImportHook() {
    if (slot_) Write(original_);
}

void ImportHook::Write(void* value) {
    DWORD old = 0;
    VirtualProtect(slot_, sizeof value, PAGE_READWRITE, &old);
    *slot_ = value;
    VirtualProtect(slot_, sizeof value, old, &old);
}

// --- pixels --------------------------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& out, const Pixels& pixels) {
    return out << pixels.Width << " x " << pixels.Height << " pixels";
}

Canvas::Canvas(int width, int height, DWORD colour) : width_(width), height_(height), dc_(CreateCompatibleDC(nullptr)) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits_, nullptr, 0);
    old_ = SelectObject(dc_, bitmap_);
    std::fill_n(static_cast<DWORD*>(bits_), width * height, colour);
}

Canvas::~Canvas() {
    SelectObject(dc_, old_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
}

Pixels Canvas::Read() const {
    GdiFlush();
    Pixels pixels{width_, height_, {}};
    const auto* const from = static_cast<const DWORD*>(bits_);
    for (int i = 0; i < width_ * height_; ++i) pixels.Colours.push_back(from[i] & 0xFFFFFF);
    return pixels;
}

Pixels Picture() {
    const HBITMAP bitmap = LoadBitmapA(Module::Get().Handle(), MAKEINTRESOURCEA(201));
    const Canvas canvas(32, 32, 0);
    const HDC dc = CreateCompatibleDC(nullptr);
    const HGDIOBJ old = SelectObject(dc, bitmap);
    BitBlt(canvas.Dc(), 0, 0, 32, 32, dc, 0, 0, SRCCOPY);
    SelectObject(dc, old);
    DeleteDC(dc);
    DeleteObject(bitmap);
    return canvas.Read();
}

Pixels ScreenPixels(const RECT& place) {
    const Canvas canvas(place.right - place.left, place.bottom - place.top, 0);
    const HDC screen = GetDC(nullptr);
    BitBlt(canvas.Dc(), 0, 0, place.right - place.left, place.bottom - place.top, screen, place.left, place.top,
           SRCCOPY);
    ReleaseDC(nullptr, screen);
    return canvas.Read();
}

RECT ScreenPlace(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    return place;
}

void KeepPicture(const char* name, const Pixels& pixels) {
    const char* const folder = std::getenv("TALVO_PICTURES");
    if (!folder) return;
    const auto size = static_cast<DWORD>(pixels.Colours.size() * 4);
    const BITMAPINFOHEADER info{sizeof info, pixels.Width, -pixels.Height, 1, 32, BI_RGB, size, 0, 0, 0, 0};
    const DWORD start = sizeof(BITMAPFILEHEADER) + sizeof info;
    const BITMAPFILEHEADER header{0x4D42, start + size, 0, 0, start};  // "BM"
    std::ofstream file(std::string(folder) + "\\" + name + ".bmp", std::ios::binary);
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    file.write(reinterpret_cast<const char*>(&info), sizeof info);
    file.write(reinterpret_cast<const char*>(pixels.Colours.data()), static_cast<std::streamsize>(size));
}

// --- counts --------------------------------------------------------------------------------------------------------

// Where the system does not count them for us (Wine), they are counted in the process's table of them: 65536 entries of
// 24 bytes, of which the type is not 0 while the entry is in use.
int CountDrawingObjects() {
    GdiFlush();
    if (const DWORD count = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return static_cast<int>(count);
    constexpr size_t kEntries = 65536, kEntrySize = 24, kType = 14;
    constexpr size_t kTableInProcess = sizeof(void*) == 8 ? 0xF8 : 0x94;
    const auto processBlock = Export<const BYTE*()>(GetModuleHandleA("ntdll.dll"), "RtlGetCurrentPeb");
    const auto* const table = *reinterpret_cast<BYTE* const*>(processBlock() + kTableInProcess);
    int count = 0;
    for (size_t i = 0; table && i < kEntries; ++i) count += table[i * kEntrySize + kType] != 0;
    return count;
}

int CountWindows() {
    int count = 0;
    for (HWND window = GetTopWindow(nullptr); window; window = GetWindow(window, GW_HWNDNEXT)) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        count += process == GetCurrentProcessId();
    }
    return count;
}

}  // namespace talvo::test
