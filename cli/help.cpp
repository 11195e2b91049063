// The texts stand as they are shown. docs/command.md says the same at more length.
#include "cli/help.h"

namespace talvo {
namespace {

constexpr std::string_view kOverview = R"(Usage: talvo COMMAND [OPTIONS] [FILE]

Turns files of any kind into text that survives mail and other text-only
roads, and back.

  talvo encode -f base64 photo.jpg -o photo.txt   a file to text
  talvo decode -f base64 photo.txt -o photo.jpg   and back
  tar c docs | talvo encode -f base64 > docs.txt  in the middle of a pipe

Commands:
  encode       data to text
  decode       text to data
  register     make the component known to every program of this user
  unregister   the reverse
  help COMMAND, or COMMAND --help: more about it
  --version    the version of this command, and the component it would use

Exit codes:
  0  done (warnings included)
  1  the input is not what the format demands
  2  the command line is wrong
  3  a file could not be opened, read or written
  4  there is no component, or it failed for another reason
)";

constexpr std::string_view kEncode = R"(Usage: talvo encode -f FORMAT [OPTIONS] [FILE|-] [-o FILE|-]

Turns data into text. Without FILE, or with -, it reads standard input; without
-o, or with -o -, it writes standard output. Files may have any size.

  talvo encode -f base64 photo.jpg -o photo.txt
  talvo encode -f base64 --line-breaks lf < photo.jpg > photo.txt
  talvo encode -f base64 --line-breaks none id.bin      all on one line
  talvo encode -f base64 -l 60 -b lf -o - -- -odd-name

Options:
  -f, --format FORMAT       base64 (uu, xx, hex, qp, binhex: as far as the
                            component in use offers them)
  -o, --output FILE         where the text goes
  -l, --line-length N       characters per line; 0, the default, leaves it to
                            the format (base64: 76)
  -b, --line-breaks KIND    crlf (the default, as in mail), lf (as in Unix text
                            files), cr, or none (everything on one line)
      --module FILE         use the component in this module file
  -q, --quiet               no progress bar
  -p, --progress            a progress bar even if standard error is no terminal
  -v, --verbose             say where the component was found
  -h, --help                this text
      --                    what follows are names, even if they begin with -
)";

constexpr std::string_view kDecode = R"(Usage: talvo decode -f FORMAT [OPTIONS] [FILE|-] [-o FILE|-]

Turns text back into data. Without FILE, or with -, it reads standard input;
without -o, or with -o -, it writes standard output. Files may have any size.
Line breaks of every kind are understood.

  talvo decode -f base64 photo.txt -o photo.jpg
  talvo decode -f base64 < photo.txt > photo.jpg
  talvo decode -f base64 --tolerant damaged.txt -o what-is-left.bin

A defect ends the decoding with exit code 1 and a message that names it. With
--tolerant the defect is repaired as well as it can be, reported as a warning,
and the exit code is 0.

Options:
  -f, --format FORMAT       base64 (uu, xx, hex, qp, binhex: as far as the
                            component in use offers them)
  -o, --output FILE         where the data goes
  -t, --tolerant            repair defects and go on
      --module FILE         use the component in this module file
  -q, --quiet               no progress bar
  -p, --progress            a progress bar even if standard error is no terminal
  -v, --verbose             say where the component was found
  -h, --help                this text
      --                    what follows are names, even if they begin with -
)";

constexpr std::string_view kRegister = R"(Usage: talvo register [MODULE]
       talvo unregister [MODULE]

Enters the component into the class registry, or removes it from there, so that
programs and scripts find it by name. Without MODULE it is the module beside
this command. The command itself does not need it: where nothing is registered,
encode and decode use that module directly.

  talvo register
  talvo register ./libTalvoBinaryEncoding.so
  talvo unregister

Options:
  -q, --quiet               say nothing when it worked
  -h, --help                this text
)";

}  // namespace

std::string_view HelpFor(Command command) {
    switch (command) {
        case Command::Encode:
            return kEncode;
        case Command::Decode:
            return kDecode;
        case Command::Register:
        case Command::Unregister:
            return kRegister;
        default:
            return kOverview;
    }
}

}  // namespace talvo
