// What an encoded text is: `talvo info`.
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace talvo {

// Writes on standard output what the text says about itself, and its defects. BadData if there are any.
ExitCode TellInfo(const Options& options);

}  // namespace talvo
