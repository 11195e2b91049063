// The commands, for main to run.
#pragma once

#include <string_view>

#include "cli/messages.h"
#include "cli/options.h"

namespace talvo {

// `encode` and `decode`: from a source through the component to a destination, piece by piece. Says on standard error what
// went wrong.
ExitCode Convert(const Options& options);

// `info`: writes on standard output what a text says about itself, and its defects. BadData if there are any.
ExitCode TellInfo(const Options& options);

// `--help`: the texts teach by example and fit 80 columns.
std::string_view HelpFor(Command command);

}  // namespace talvo
