// What the parts of the control share: its extent, the container's connections to it, and whom to tell of a change.
//
// A control's user interface lives on one thread, so there is no lock here.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <oleidl.h>

#include <optional>

#include "com/com_ptr.h"
#include "server/control/extent.h"

namespace talvo {

// As the registration says: recompose on resize, cannot link inside, inside-out, activate when visible, invisible at run
// time, set client site first.
constexpr DWORD kMiscStatus = 132497;

// The size of the picture at the screen's resolution.
Extent NaturalExtent() noexcept;

// The one sink that a container may have for the view.
struct ViewSink {
    com::ComPtr<IAdviseSink> Sink;
    DWORD Aspects = 0;
    DWORD Flags = 0;
};

class Presentation {
public:
    Presentation() noexcept = default;
    Presentation(const Presentation&) = delete;
    Presentation& operator=(const Presentation&) = delete;

    Extent CurrentExtent() const noexcept { return extent_ ? *extent_ : NaturalExtent(); }
    // A new extent, which then is or is not what was last saved. Tells the container's sinks.
    void SetExtent(const Extent& extent, bool saved) noexcept;
    bool Dirty = false;

    com::ComPtr<IOleClientSite> Site;
    com::ComPtr<IOleAdviseHolder> ObjectSinks;  // made when the first sink comes
    com::ComPtr<IDataAdviseHolder> DataSinks;   // likewise
    ViewSink View;

    // `data` is the control's data object, which sinks of the data are told of.
    void SetData(IDataObject* data) noexcept { data_ = data; }
    void SendViewChange() noexcept;

private:
    // The natural one until another was loaded: most components never show, and need no screen.
    std::optional<Extent> extent_;
    IDataObject* data_ = nullptr;
};

}  // namespace talvo
