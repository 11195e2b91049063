// The version of the command: here and nowhere else in it.
#pragma once

namespace talvo {

inline constexpr char kVersion[] = "1.1.0";

}  // namespace talvo
