// The About box of the component, dialog 202.
#pragma once

namespace talvo {

// Shows it until the user closes it, owned by the window that is active on this thread. Where it cannot be shown, nothing
// happens.
void ShowAboutBox() noexcept;

}  // namespace talvo
