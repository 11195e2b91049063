// Reads the text of an interface definition into a Library: the part of the language that describes an automation library
// (see README.md). What it does not know it refuses, with the line. Any text may be given to it.
#pragma once

#include <memory>
#include <string_view>

#include "platform/idl_lexer.h"
#include "platform/type_model.h"

namespace platform {

// Null when the text is refused; `error` tells where and why. `standard` is where IUnknown and IDispatch come from; without
// it the text itself is the standard library. May throw std::bad_alloc.
std::shared_ptr<const Library> ParseIdl(std::string_view text, std::shared_ptr<const Library> standard,
                                        IdlError& error);

}  // namespace platform
