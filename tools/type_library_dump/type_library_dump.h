// A type library as text: every type with all its members, as ITypeLib and ITypeInfo tell them. The text is the same for
// every width, so offsets in virtual tables count pointers.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>

namespace talvo {

// Lines end in LF. Throws when a call of the type information fails.
std::string DumpTypeLibrary(ITypeLib* library);

}  // namespace talvo
