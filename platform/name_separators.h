// The characters that separate the parts of a file name, for those who look into one. The file calls themselves take
// both slashes everywhere. Not a part of the stand-in: every build reads this header.
#pragma once

#include <windows.h>

namespace platform {

#ifdef _WIN32
// A slash is part of a name for what our methods promise there, whatever the system makes of it later.
inline constexpr WCHAR kNameSeparators[] = OLESTR("\\");
#else
inline constexpr WCHAR kNameSeparators[] = OLESTR("\\/");
#endif

}  // namespace platform
