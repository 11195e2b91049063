// The version of the command, which the build gives.
#pragma once

namespace talvo {

inline constexpr char kVersion[] = TALVO_VERSION;

}  // namespace talvo
