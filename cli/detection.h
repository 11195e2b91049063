// Finds out which format a text has: every decoder tries its beginning, so that the rules of a format stand in its decoder
// alone.
#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cli/options.h"
#include "cli/server_access.h"

namespace talvo {

struct Guess {
    Stage stage;
    bool said = false;                     // by the first line of the text; otherwise its characters fit
    std::vector<std::string_view> others;  // formats that fit as well
};

// `whole`: the sample is all of the text. Nothing where no format fits.
std::optional<Guess> Detect(const Server& server, std::span<const BYTE> sample, bool whole);

}  // namespace talvo
