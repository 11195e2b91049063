// The text form of the registry: a .reg file, "Windows Registry Editor Version 5.00", in UTF-8.
// Every tree can be written and is read back the same.
#pragma once

#include <string>
#include <string_view>

#include "platform/registry_tree.h"

namespace platform {

std::string WriteRegistryText(const RegistryTree& tree);

// Adds the text's keys to an empty tree. 0 when all of it was understood, else the number of the first line that was
// not: such a text is damaged, and nothing may be concluded from it.
[[nodiscard]] size_t ReadRegistryText(std::string_view text, RegistryTree& tree);

}  // namespace platform
