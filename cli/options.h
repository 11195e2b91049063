// The command line as values. Pure: looks at nothing but the words, opens nothing, prints nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace talvo {

enum class Command { Overview, Version, Encode, Decode, Register, Unregister };
enum class Format { UU, XX, Base64, Hex, QuotedPrintable, BinHex };
enum class LineBreaks { None, CrLf, Lf, Cr };

// Stands for standard input or output.
inline constexpr std::string_view kStandardStream = "-";

struct Options {
    Command command = Command::Overview;
    bool help = false;  // show the help of `command` and do nothing else

    Format format = Format::Base64;
    std::optional<uint32_t> lineLength;    // unset: the component's own
    std::optional<LineBreaks> lineBreaks;  // unset: the component's own
    bool tolerant = false;
    std::string source{kStandardStream};
    std::string destination{kStandardStream};

    std::string module;  // the component's file; empty: find it
    bool quiet = false;
    bool progress = false;
    bool verbose = false;
};

struct ParsedOptions {
    Options options;
    std::string complaint;  // empty: the command line is in order
};

// `words` are the arguments without the program's name.
ParsedOptions ParseOptions(std::span<const char* const> words);

// The name by which a command or a format is asked for.
std::string_view NameOf(Command command);
std::string_view NameOf(Format format);

}  // namespace talvo
