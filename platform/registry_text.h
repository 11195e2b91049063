// The text form of the registry: a .reg file, "Windows Registry Editor Version 5.00", in UTF-8.
// Every tree can be written and is read back the same. Strings are understood; a value of another type is kept as its
// line stands.
#pragma once

#include <string>
#include <string_view>

#include "platform/registry_tree.h"

namespace platform {

std::string WriteRegistryText(const RegistryTree& tree);

// Adds the text's keys to an empty tree. False when not all of it was understood: such a text is damaged, and nothing may
// be concluded from it.
[[nodiscard]] bool ReadRegistryText(std::string_view text, RegistryTree& tree);

}  // namespace platform
