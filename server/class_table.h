// The classes of the module. Only the table knows them by name.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <span>

#include "server/class_factory.h"

namespace talvo {

struct ClassEntry {
    const CLSID* Class;
    const WCHAR* Name;  // %NAME% of its script: of its ProgID, and in its description
    WORD Script;        // resource of type REGISTRY
    // Builds the plain object, or the aggregatable one for `outer`.
    HRESULT (*Create)(IUnknown* outer, REFIID iid, void** object) noexcept;
    ClassFactory* Factory = nullptr;  // made on first use, under the module's lock, and kept until the module stops
};

// In the order in which classes are searched and registered.
std::span<ClassEntry> Classes() noexcept;

}  // namespace talvo
