// The texts stand as they are shown. docs/command.md says the same at more length.
#include "cli/commands.h"

namespace talvo {
namespace {

constexpr std::string_view kOverview = R"(Usage: talvo COMMAND [OPTIONS] [FILE]

Turns files of any kind into text that survives mail and other text-only
roads, and back.

  talvo encode -f base64 photo.jpg -o photo.txt   a file to text
  talvo decode -f base64 photo.txt -o photo.jpg   and back
  talvo decode -f uu mail.txt -o inbox/           under the name in the text
  talvo info mail.txt                             what is in it, and is it whole
  tar c docs | talvo encode -f base64 > docs.txt  in the middle of a pipe

Commands:
  encode       data to text
  decode       text to data
  info         format, header, size and defects of a text
  register     make the component known to every program of this user
  unregister   the reverse
  help COMMAND, or COMMAND --help: more about it
  --version    the version of this command, and the component it would use

Formats: uu, xx, base64, hex, qp (quoted-printable), binhex (BinHex 4.0)

Exit codes:
  0  done (warnings included)
  1  the input is not what the format demands
  2  the command line is wrong, or asks for what the format refuses
  3  a file could not be opened, read or written
  4  there is no component, or it failed for another reason
)";

constexpr std::string_view kEncode = R"(Usage: talvo encode -f FORMAT [OPTIONS] [FILE|-] [-o FILE|-]

Turns data into text. Without FILE, or with -, it reads standard input; without
-o, or with -o -, it writes standard output. Files may have any size.

  talvo encode -f base64 photo.jpg -o photo.txt
  talvo encode -f base64 --line-breaks lf < photo.jpg > photo.txt
  talvo encode -f base64 --line-breaks none id.bin      all on one line
  tar c docs | talvo encode -f uu --name docs.tar --mode 644 > docs.uu
  talvo encode -f binhex letter --type TEXT --creator ttxt \
      --resource-fork letter.rsrc -o letter.hqx
  talvo encode -f base64 -b lf --then uu photo.jpg      UU of the Base64 text
  talvo encode -f hex --offset 512 --size 64 disk.img   a part of a file

Options:
  -f, --format FORMAT       uu, xx, base64, hex, qp or binhex
      --then FORMAT         encode the text once more; as often as wanted
  -o, --output FILE         where the text goes
  -a, --append              write behind what FILE already holds
      --offset N            begin N bytes into the input
      --size N              take N bytes (default: all)

Options of a format; with --then they belong to the format named last:
  -l, --line-length N       characters per line; 0, the default, leaves it to
                            the format (uu 61, xx 77, base64 76, hex 78, qp 76,
                            binhex 64)
  -b, --line-breaks KIND    crlf (the default, as in mail), lf (as in Unix text
                            files), cr, or none (everything on one line; not
                            with uu, xx and the header of binhex). With qp: the
                            line breaks of the input
      --no-header           uu, xx, binhex: the lines of data alone
  -n, --name NAME           uu, xx, binhex: the file name in the header
                            (default: that of FILE)
  -m, --mode OCTAL          uu, xx: the permissions in the header, e.g. 644
                            (default: 444)
      --type, --creator X   binhex: four characters (TEXT) or eight hexadecimal
                            digits (54455854)
      --flags N             binhex: the Finder's flags, e.g. 0x2000
      --resource-fork FILE  binhex: the resource fork
      --data-length N, --resource-length N
                            binhex: how FILE divides into the two forks;
                            needed where its size is not known, as in a pipe

Others:
      --module FILE         use the component in this module file
  -q, --quiet               no progress bar
  -p, --progress            a progress bar even if standard error is no terminal
  -v, --verbose             say where the component was found
  -h, --help                this text
      --                    what follows are names, even if they begin with -
)";

constexpr std::string_view kDecode = R"(Usage: talvo decode -f FORMAT [OPTIONS] [FILE|-] [-o FILE|FOLDER|-]

Turns text back into data. Without FILE, or with -, it reads standard input;
without -o, or with -o -, it writes standard output. Files may have any size.
Line breaks of every kind are understood.

  talvo decode -f base64 photo.txt -o photo.jpg
  talvo decode -f base64 < photo.txt > photo.jpg
  talvo decode -f uu mail.txt -o inbox/          under the name in the text
  talvo decode -f binhex letter.hqx -o letter    and letter.rsrc
  talvo decode -f uu --then base64 photo.uu -o photo.jpg
  talvo decode -f base64 --tolerant damaged.txt -o what-is-left.bin

A defect ends the decoding with exit code 1 and a message that names it and its
place. With --tolerant the defect is repaired as well as it can be, reported as
a warning, and the exit code is 0.

Options:
  -f, --format FORMAT       uu, xx, base64, hex, qp or binhex
      --then FORMAT         decode the result once more; as often as wanted
  -o, --output FILE         where the data goes
  -o, --output FOLDER       into that folder, under the name that the text
                            carries (uu, xx, binhex). A name that could lead
                            elsewhere is refused, and so is one that is taken
      --overwrite           replace a file that has that name
  -a, --append              write behind what the file already holds
  -t, --tolerant            repair defects and go on
      --offset N            begin N bytes into the input
      --size N              take N bytes (default: all)
      --no-header           uu, xx, binhex: there are only the lines of data
  -b, --line-breaks KIND    qp: line breaks of the data: crlf (the default), lf,
                            cr, or none (there must not be any)
      --resource-fork FILE  binhex: where the resource fork goes; without it
                            beside the data, as NAME.rsrc, unless it is empty
      --module FILE         use the component in this module file
  -q, --quiet               no progress bar
  -p, --progress            a progress bar even if standard error is no terminal
  -v, --verbose             say where the component was found
  -h, --help                this text
      --                    what follows are names, even if they begin with -
)";

constexpr std::string_view kInfo = R"(Usage: talvo info [OPTIONS] [FILE|-]

Says what an encoded text is without writing what is in it: format, the values
of its header, the size of the data, and every defect with its place. Without
FILE, or with -, it reads standard input. Exit code 1: there are defects, or no
format fits.

  talvo info mail.txt
  talvo info -f uu --no-header lines.txt

Without --format the format is found out from the beginning of the text. UU, XX
and BinHex say what they are; of the others it is a guess, and called one.

Options:
  -f, --format FORMAT       uu, xx, base64, hex, qp or binhex
      --offset N            begin N bytes into the input
      --size N              take N bytes (default: all)
      --no-header           uu, xx, binhex: there are only the lines of data
  -b, --line-breaks KIND    qp: line breaks of the data
      --module FILE         use the component in this module file
  -q, --quiet               no progress bar
  -p, --progress            a progress bar even if standard error is no terminal
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
        case Command::Info:
            return kInfo;
        case Command::Register:
        case Command::Unregister:
            return kRegister;
        default:
            return kOverview;
    }
}

}  // namespace talvo
