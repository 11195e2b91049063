// The command line as values. Pure: looks at nothing but the words, opens nothing, prints nothing.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

enum class Command { Overview, Version, Encode, Decode, Info, Register, Unregister };
enum class Format { UU, XX, Base64, Hexa, QuotedPrintable, BinHex };
enum class LineBreaks { None, CrLf, Lf, Cr };

// Stands for standard input or output.
inline constexpr std::string_view kStandardStream = "-";

using FourBytes = std::array<uint8_t, 4>;

// One format of a chain and what was asked of it. What is unset stays as the component has it.
struct Stage {
    Format format = Format::Base64;
    std::optional<uint32_t> lineLength;
    std::optional<LineBreaks> lineBreaks;
    bool noHeader = false;
    std::optional<std::string> name;
    std::optional<uint32_t> mode;
    std::optional<FourBytes> type, creator;
    std::optional<uint16_t> flags;
    std::optional<uint32_t> dataLength, resourceLength;

    bool HasHeader() const;     // its text has lines that carry a file name
    bool HasBeginLine() const;  // the first of them is "begin MODE NAME"
};

struct Options {
    Command command = Command::Overview;
    bool help = false;  // show the help of `command` and do nothing else

    std::vector<Stage> stages{1};  // in the order in which they are applied
    bool formatGiven = false;      // otherwise the first stage's format is to be found out
    bool tolerant = false;
    std::string source{kStandardStream};
    std::string destination{kStandardStream};
    std::string resourceFork;  // the file of that fork; empty: none was named
    uint64_t offset = 0;
    std::optional<uint64_t> size;  // unset: all there is
    bool append = false;
    bool overwrite = false;

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

// Whether texts of the format have a header unless one asks for none.
bool HasHeader(Format format);

}  // namespace talvo
