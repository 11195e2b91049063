// The texts of --help: they teach by example and fit 80 columns.
#pragma once

#include <string_view>

#include "cli/options.h"

namespace talvo {

std::string_view HelpFor(Command command);

}  // namespace talvo
