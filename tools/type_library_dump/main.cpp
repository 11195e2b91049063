// type_library_dump FILE: prints the record of the type library in a file or module; ./dev idl makes the committed ones
// with it.
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <cstdio>
#include <string>

#include "com/com_ptr.h"
#include "tools/type_library_dump/type_library_dump.h"

int main(int count, char** arguments) {
    if (count != 2) return 2;
    const std::string path = arguments[1];
    const std::basic_string<WCHAR> wide(path.begin(), path.end());
    com::ComPtr<ITypeLib> library;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const HRESULT hr = LoadTypeLibEx(wide.c_str(), REGKIND_NONE, library.Put());
    if (FAILED(hr)) {
        std::fprintf(stderr, "The type library cannot be loaded: 0x%08X\n", static_cast<unsigned>(hr));
    } else {
        std::fputs(talvo::DumpTypeLibrary(library.Get()).c_str(), stdout);
        library.Reset();
    }
    CoUninitialize();
    return FAILED(hr) ? 1 : 0;
}
