// The objects of one conversion: a component and the formats of the chain, one inside the other. A server may have
// several chains at the same time.
#pragma once

#include <windows.h>

#include <span>
#include <vector>

#include "TalvoBinaryEncoding.h"

#include "cli/format_classes.h"
#include "cli/messages.h"
#include "cli/options.h"
#include "cli/server_access.h"
#include "com/com_ptr.h"
#include "com/unique.h"

namespace talvo {

inline constexpr char kNoBeginLine[] = "there is no 'begin' line";

class Chain {
public:
    Failure Open(const Server& server, Command command, std::span<const Stage> stages, bool tolerant);

    // Converts one piece: S_OK, a warning, or an error.
    HRESULT Convert(std::span<const BYTE> bytes, bool last);
    // What the last Convert gave; valid until the next.
    std::span<const BYTE> Output() const { return {output_.Get(), size_}; }

    // What the header of one stage says; of a decoding, as far as it has come.
    Header ReadHeader(size_t stage) const;
    // A text without its "begin" line decodes to nothing, which the component does not call an error.
    bool LacksBeginLine() const;

private:
    HRESULT Link(Command command);

    decltype(&ITalvoBinaryEncoding::Encode) call_ = nullptr;
    com::ComPtr<ITalvoBinaryEncoding> component_;
    std::vector<const FormatClass*> classes_;
    std::vector<com::ComPtr<ITalvoEncodeData>> formats_;
    com::UniqueTaskBytes output_;
    DWORD size_ = 0;
    bool expectsBeginLine_ = false;
    bool anything_ = false;  // has been put out
};

}  // namespace talvo
