// File names that an encoded text carries. They come from a stranger: before a file gets one, it has to be shown that
// the name cannot lead anywhere but into the folder that the user chose. The rules are the same on every system.
#pragma once

#include <string>
#include <string_view>

namespace talvo {

// What separates the names of a path.
inline constexpr std::string_view kSeparators = "/\\";

// Why no file may get the name; empty when one may.
std::string NameFault(std::string_view name);

// The name as it can be shown on a terminal: what is not printable as \xNN.
std::string Printable(std::string_view name);

// The part of a path behind its last separator.
std::string_view LastSegment(std::string_view path);

// Whether the path names a folder: one that is there, or any that ends in a separator.
bool NamesFolder(const std::string& path);
// The name in the folder.
std::string InFolder(const std::string& folder, std::string_view name);

}  // namespace talvo
