// One run of `talvo encode` or `talvo decode`: from a source through the component to a destination, piece by piece.
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace talvo {

// Converts as the options ask and says on standard error what went wrong.
ExitCode Convert(const Options& options);

}  // namespace talvo
