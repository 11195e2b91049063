// The Windows calls that this project uses, for Linux: true names, numbers, widths and ownership, nothing beyond.
// platform/README.md lists every call offered. This file gathers the parts in the order of the real one. The COM headers
// include it ahead of their own guards: whichever of them comes first, the order of the parts is the same.
#ifndef TALVO_PLATFORM_WINDOWS_H
#define TALVO_PLATFORM_WINDOWS_H

#include <windef.h>

#include <winbase.h>
#include <winuser.h>

#include <winnls.h>
#include <winreg.h>
#ifndef WIN32_LEAN_AND_MEAN
#include <rpc.h>

#include <ole2.h>
#endif

#endif
