// The classes of the server as the command knows them: by their names in the class registry and their public
// interfaces.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

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

// What a text says about the file inside.
struct Header {
    struct Forks {
        FourBytes type, creator;
        uint16_t flags;
        uint32_t dataLength, resourceLength;
    };
    std::string name;
    std::optional<uint32_t> permissions;  // of UU and XX
    std::optional<Forks> forks;           // of BinHex
};

struct FormatClass {
    Format format;
    ClassName name;
    // Stores the options that were given; those that were not keep the values of a new object.
    Refusal (*setOptions)(IUnknown* object, const Stage& stage, bool tolerant);
    // Reads what a decoding has found, or what an encoding will write; S_OK and nothing where there are no headers.
    HRESULT (*readHeader)(IUnknown* object, Header& header);
    // One format inside another.
    HRESULT (*setInner)(IUnknown* object, ITalvoProcessData* inner);
};

extern const ClassName kComponentClass;
const FormatClass& ClassOf(Format format);

}  // namespace talvo
