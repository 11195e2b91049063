// What tests of the control's user interface need: a thread that may own windows, calls of the module led elsewhere,
// pixels of windows, and the number of drawing objects in use.
#pragma once

#include <windows.h>
#include <ole2.h>

#include <functional>
#include <string>
#include <vector>

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

}  // namespace talvo::test
