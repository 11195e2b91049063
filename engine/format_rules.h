// What differs between the formats outside their steps: line lengths, line breaks, and the steps themselves.
#pragma once

#include "engine/steps.h"

namespace talvo {

struct FormatRules {
    uint32_t DefaultLine;  // characters per line when MaxLineLength is 0
    uint32_t MinLine;      // stored MaxLineLength, 0 aside
    uint32_t MaxLine;
    uint32_t LineUnit;  // a line holds LineExtra characters and whole units
    uint32_t LineExtra;
    bool BreaksRequired;        // bltNone is refused
    bool EndlessWithoutBreaks;  // bltNone makes one endless line
    Step Encode;
    Step Decode;
};

// Null for a value that is no format.
const FormatRules* RulesOf(FormatKind kind) noexcept;

// LineLimit of an encoding session with the session's options.
uint32_t EffectiveLineLimit(const FormatRules& rules, const EncodingSession& session) noexcept;

}  // namespace talvo
