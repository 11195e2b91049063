// What tests of the control and its user interface need: a thread that may own windows, calls of the module led
// elsewhere, pixels of windows, the number of drawing objects in use; the control, its size, and the bytes that it saves.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <ole2.h>
#include <olectl.h>

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/module/module_fixture.h"

namespace talvo::test {

// Runs the function on a thread of its own, in a single-threaded apartment, to its end.
void OnUiThread(const std::function<void()>& function);

// Handles the messages that wait on this thread, for as long as it takes until `done`, at most ten seconds.
bool WaitUntil(const std::function<bool()>& done);

// While this exists, the module under test calls `replacement` in place of a function that it imports.
class ImportHook {
public:
    template <class Function>
    ImportHook(const char* library, const char* name, Function* replacement)
        : ImportHook(library, name, reinterpret_cast<void*>(replacement)) {}
    ImportHook(const char* library, const char* name, void* replacement);
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;
    bool Works() const { return slot_ != nullptr; }

private:
    void Write(void* value);
    void** slot_ = nullptr;
    void* original_;
};

// Pixels in rows from the top, 0x00RRGGBB.
struct Pixels {
    int Width = 0, Height = 0;
    std::vector<DWORD> Colours;
    bool operator==(const Pixels&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Pixels& pixels);

// What `draw` makes of a surface of one colour.
Pixels Drawn(int width, int height, DWORD colour, const std::function<void(HDC)>& draw);
// The module's bitmap 201 as it must appear; painted with its upper left corner there.
Pixels Picture();
void PaintPicture(HDC dc, int x, int y);
// A part of the screen; a window's own area.
Pixels ScreenPixels(const RECT& place);
RECT ScreenPlace(HWND window);
// Whether the screen shows the picture in the window's upper left corner, now or soon.
bool ShowsPicture(HWND window);
// Keeps a picture for the documentation as NAME.bmp, if the environment variable TALVO_PICTURES names a folder.
void KeepPicture(const char* name, const Pixels& pixels);

// Drawing objects of this process.
int CountDrawingObjects();

template <class Interface>
com::ComPtr<Interface> Control() {
    return Create<Interface>(CLSID_TalvoBinaryEncoding);
}

constexpr DWORD kMiscStatus = 132497;

// 32 pixels of the screen, in 0.01 mm.
inline SIZEL Natural() {
    const HDC screen = GetDC(nullptr);
    const int across = GetDeviceCaps(screen, LOGPIXELSX), down = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return {MulDiv(32, 2540, across), MulDiv(32, 2540, down)};
}

inline std::string Show(const SIZEL& size) { return std::to_string(size.cx) + " x " + std::to_string(size.cy); }

template <class Interface>
std::string ExtentOf(const com::ComPtr<Interface>& control) {
    SIZEL size{-1, -1};
    const HRESULT hr = As<IOleObject>(control)->GetExtent(DVASPECT_CONTENT, &size);
    return hr == S_OK ? Show(size) : Name(hr);
}

inline com::ComPtr<IStream> StreamOf(const std::vector<BYTE>& bytes) {
    com::ComPtr<IStream> stream;
    CreateStreamOnHGlobal(nullptr, TRUE, stream.Put());
    stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    return stream;
}

inline std::vector<BYTE> SavedBytes(const com::ComPtr<IPersistStreamInit>& control) {
    const auto stream = StreamOf({});
    EXPECT_EQ(control->Save(stream.Get(), TRUE), S_OK);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    std::vector<BYTE> bytes(100);
    ULONG read = 0;
    stream->Read(bytes.data(), 100, &read);
    bytes.resize(read);
    return bytes;
}

// The saved bytes with another width.
inline std::vector<BYTE> WithWidth(std::vector<BYTE> saved, DWORD width) {
    for (size_t i = 0; i < 4; ++i) saved[saved.size() - 8 + i] = static_cast<BYTE>(width >> 8 * i);
    return saved;
}

}  // namespace talvo::test
