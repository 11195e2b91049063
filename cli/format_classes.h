// The classes of the server as the command knows them: by their names in the class registry and their public interfaces.
#pragma once

#include <windows.h>

#include "TalvoBinaryEncoding.h"

#include "cli/options.h"

namespace talvo {

struct ClassName {
    const OLECHAR* progId;
    const CLSID* id;
};

// An option that a format object did not take.
struct Refusal {
    HRESULT result = S_OK;
    const char* option = "";
};

struct FormatClass {
    Format format;
    ClassName name;
    // Stores the options that were given; those that were not keep the values of a new object.
    Refusal (*setOptions)(IUnknown* object, const Options& options);
};

extern const ClassName kComponentClass;
const FormatClass& ClassOf(Format format);

}  // namespace talvo
