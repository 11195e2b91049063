// Reads the record of a type library: what Windows itself says of the compiled library, one type or member a line (see
// README.md). What does not read as such a record is refused, with the line. Any text may be given to it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/type_model.h"

namespace platform {

struct RecordError {
    size_t line = 0;
    std::string reason;
};

// Null when the text is refused; `error` tells where and why. May throw std::bad_alloc.
std::shared_ptr<const Library> ReadTypeRecord(std::string_view text, RecordError& error);

}  // namespace platform
