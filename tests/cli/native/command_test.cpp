// The command as a process of a shell: what it writes, what it says, how it ends. Each row is a line that a user could
// have typed, in a folder that holds the files made below.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

struct Line {
    std::string line;
    int exit;
    std::string out, err = "";  // patterns for all of it; * stands for any text, as in file names
};

constexpr size_t kChunk = 256 * 1024;

class CommandTest : public testing::Test {
protected:
    void SetUp() override {
        const char* const command = std::getenv("TALVO_COMMAND");
        command_ = command && *command ? fs::path(command) : fs::read_symlink("/proc/self/exe").parent_path() / "talvo";
        ASSERT_TRUE(fs::exists(command_)) << command_;
        fs::create_directory(folder_ / "log");
        for (const size_t size : {size_t{0}, size_t{100}, 3 * kChunk + 1}) Put(std::to_string(size), Noise(size));
        Put("damaged", "QUJD*REVG");
        Put("cut", "QUJDR");
        // A defect in the second chunk: the first has been written by then.
        Put("damaged-late", std::string(kChunk, 'A') + "*AAA");
    }

    // Runs a shell line in the folder; `talvo` is the command, with a registry of this test's own. Built with the thread
    // sanitizer a process would sleep for a second at its end.
    void Expect(const Line& line) const {
        const std::string shell = "cd '" + folder_.Text() + "' && export TALVO_REGISTRY=\"$PWD/registry.reg\" PATH='" +
                                  command_.parent_path().string() +
                                  "':\"$PATH\" TSAN_OPTIONS=\"$TSAN_OPTIONS atexit_sleep_ms=0\" && { " + line.line +
                                  "\n} >log/out 2>log/err </dev/null";
        const int status = std::system(shell.c_str());
        const std::string out = Get("log/out"), err = Get("log/err");
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, line.exit) << line.line << "\n" << err;
        EXPECT_EQ(fnmatch(line.out.c_str(), out.c_str(), 0), 0) << line.line << "\n" << out;
        EXPECT_EQ(fnmatch(line.err.c_str(), err.c_str(), 0), 0) << line.line << "\n" << err;
    }
    void Put(const std::string& name, const std::string& content) const { talvo::test::Save(folder_ / name, content); }
    std::string Get(const std::string& name) const { return talvo::test::Load(folder_ / name); }

    static std::string Noise(size_t size) {
        std::mt19937 random(static_cast<uint32_t>(size));
        std::string bytes(size, '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        return bytes;
    }

    fs::path command_;
    const talvo::test::TempFolder folder_;
};

TEST_F(CommandTest, Options) {
    Put("alphabet", "abcdefghijkl");
    const Line kLines[] = {
        {"talvo encode -f base64 alphabet -l 8 -b lf", 0, "YWJjZGVm\nZ2hpamts"},
        {"cp alphabet -- -a; talvo encode -f base64 -b none -l 8 -- -a", 0, "YWJjZGVmZ2hpamts"},
        {"talvo decode -f base64 damaged", 1, "",
         "talvo: damaged: berInvalidCharacterInData (0x80044001): Invalid character in the data. "
         "(offset 4: line 1, column 5)\n"},
        {"talvo decode -f base64 -t damaged", 0, "ABCDEF",
         "talvo: damaged: warning: berWarningInvalidCharacterInData (0x00044001): Invalid character in the data. "
         "(in 1 chunk)\n"},
        {"talvo decode -f base64 --offset 1 damaged", 1, "", "talvo: damaged: ber* (offset 4)\n"},
        {"printf 'QUJD\\rQUJD\\n\\r\\nQ*JD' | talvo decode -f base64", 1, "",
         "talvo: standard input: ber* (offset 13: line 4, column 2)\n"},
        {"talvo decode -f base64 <cut", 1, "", "talvo: standard input: ber* (0x8004400?): *. (at the end)\n"},
        {"talvo encode -f uu -b none alphabet", 2, "",
         "talvo: --line-breaks: berInvalidEndOfLineType (0x80044019): Invalid end of line type.\n"},
        {"talvo encode -f base64 --wrap 5 alphabet", 2, "",
         "talvo: there is no option '--wrap'\ntalvo: try 'talvo encode --help'\n"},
        {"talvo help decode", 0, "*talvo decode *"},
        {"talvo", 2, "", "talvo: no command given\ntalvo: try 'talvo --help'\n"},
    };
    for (const Line& line : kLines) Expect(line);
}

// Every line is asked afterwards what file "out" holds; "-": there is none.
TEST_F(CommandTest, FilesThatFail) {
    const Line kLines[] = {
        {"talvo encode -f base64 missing -o out", 3, "-", "talvo: missing: cannot open for reading: * (error 2)\n"},
        {"talvo encode -f base64 . -o out", 3, "-", "talvo: .: cannot open for reading: * (error 5)\n"},
        {"talvo encode -f base64 100 -o no/such", 3, "-", "talvo: no/such: cannot open for writing: * (error 3)\n"},
        {"talvo encode -f base64 100 -o /dev/full", 3, "-", "talvo: /dev/full: cannot write: * (error 112)\n"},
        {"talvo encode -f base64 100 >/dev/full", 3, "-", "talvo: standard output: cannot write: * (error 112)\n"},
        {"talvo --help >/dev/full", 3, "-", "talvo: standard output: cannot write: * (error 112)\n"},
        {"talvo encode -f base64 100 >&-", 3, "-", "talvo: standard output: cannot * (error 6)\n"},
        {"talvo encode -f base64 <&-", 3, "-", "talvo: standard input: cannot * (error 6)\n"},
        {"talvo decode -f base64 damaged -o out", 1, "-", "talvo: damaged: *\n"},
        {"echo old >out; talvo decode -f base64 damaged -o out", 1, "old\n", "talvo: damaged: *\n"},
        {"echo old >out; talvo encode -f base64 0 -o out", 0, ""},
        {"ulimit -f 200; trap '' XFSZ; talvo encode -f base64 786433 -o out; code=$?; : >out; exit $code", 3, "",
         "talvo: out: cannot write: * (error *)\ntalvo: out is incomplete (102400 bytes written)\n"},
        {"cp 100 in; ln in link; talvo encode -f base64 in -o ./link; code=$?; cmp in 100; exit $code", 3, "-",
         "talvo: ./link: the destination is the source\n"},
        // A message must not end up in a file that took the place of the closed stream.
        {"talvo decode -f base64 damaged-late -o out 2>&-; code=$?; tr -d '\\000' <out; : >out; exit $code", 1, ""},
    };
    for (Line line : kLines) {
        line.line = "(" + line.line + "); code=$?; cat out 2>/dev/null || printf -; rm -f out; exit $code";
        Expect(line);
    }
}

// What a header says and where what it names may go. Folder "d" is there, and so is "d/taken".
TEST_F(CommandTest, HeadersFoldersAndForks) {
    fs::create_directory(folder_ / "d");
    Put("d/taken", "old");
    Put("abc", "abc");
    Put("fork", "FORK");
    const Line kLines[] = {
        {"talvo encode -f uu -b lf <abc", 2, "",
         "talvo: standard input: berEmptyFileNameInHeader *\ntalvo: --name NAME gives it a name\n"},
        {"talvo encode -f base64 -l 4 -b lf --then uu -b lf --name q <abc", 0, "begin 0444 q\n$65=*:@``\n`\nend"},
        {"talvo encode -f uu abc --offset 1 --size 1 --no-header", 0, "!8@``"},
        {"cat abc | talvo encode -f hex --offset 2", 0, "63"},
        {"talvo encode -f hex --offset 18446744073709551615 abc", 2, "", "talvo: abc: it ends before --offset\n"},
        {"cat abc | talvo encode -f hex --offset 4", 2, "", "talvo: standard input: it ends before --offset\n"},
        {"talvo encode -f xx -n taken abc | talvo decode -f xx -o d/; code=$?; cat d/taken; exit $code", 3, "old",
         "talvo: d/taken: cannot open for writing: * (error 80)\ntalvo: --overwrite *\n"},
        {"ln -s ../out d/link; talvo encode -f uu -n link abc | talvo decode -f uu -o d; code=$?; ls out; exit $code",
         3, "", "talvo: d/link: cannot open for writing: *"},
        {"talvo encode -f uu -n ../up abc | talvo decode -f uu -o d; code=$?; ls d up; exit $code", 1, "*",
         "talvo: the text carries the name '../up', which is refused: it leads to another folder\n"
         "talvo: choose a name yourself: --output d/FILE\n*"},
        {"printf 'begin  \\t\\n#86)C\\n' | talvo decode -f uu -o d", 1, "", "talvo: the text carries no file name\n*"},
        {"talvo decode -f base64 -o d abc", 2, "", "talvo: texts of this format carry no file name\n*"},
        {"printf 'no header' | talvo decode -f uu -o out; code=$?; ls out; exit $code", 1, "",
         "talvo: standard input: there is no 'begin' line\n*"},
        {"talvo encode -f binhex abc --resource-fork fork -o h; echo old >o.rsrc; talvo decode -f binhex h -o o; "
         "code=$?; cat o o.rsrc; exit $code",
         3, "old\n", "talvo: o.rsrc: cannot open *\n*"},
        {"talvo decode -f binhex h", 0, "abc", "talvo: h: the resource fork is left out; *"},
        {"cat abc fork | talvo encode -f binhex -n two --data-length 3 --resource-length 4 | "
         "talvo decode -f binhex -o d && cat d/two.rsrc d/two",
         0, "FORKabc"},
        {"cat abc | talvo encode -f binhex -n q", 2, "", "talvo: the length of standard input is not known, *"},
        {"talvo encode -f hex --then binhex abc", 2, "", "talvo: the length of what BinHex encodes here is not known*"},
        {"cat abc | talvo encode -f binhex -n q --data-length 4 -o out", 1, "", "talvo: *berInvalidLengthInHeader*"},
        {"truncate -s 5G big; talvo encode -f binhex big", 2, "",
         "talvo: big: a fork holds at most 4294967295 bytes\n"},
        {"talvo encode -f hex <abc -o abc; code=$?; cat abc; exit $code", 3, "abc",
         "talvo: abc: the destination is the *"},
        {"talvo encode -f hex abc >>abc; code=$?; cat abc; exit $code", 3, "abc", "talvo: standard output: the dest*"},
        {"talvo encode -f hex abc -o q <&- && cat q", 0, "616263"},
    };
    for (const Line& line : kLines) Expect(line);
}

TEST_F(CommandTest, Info) {
    Put("abc", "abc");
    const std::string uu = "format:         uu\nname:           abc\npermissions:    0444\ndecoded size:   ";
    const Line kLines[] = {
        {"talvo encode -f uu -n abc 786433 -b lf -o t && talvo info t", 0, uu + "786433 bytes\ndefects:        none\n"},
        {"sed -i '17000s/./~/7' t; talvo info t", 1,
         uu + "*\ndefects:        *\n  offset 1053*: line 17000, column 7: berWarningInvalidCharacterInData *\n*"},
        {"talvo encode -f xx -n ../abc abc | talvo info", 0,
         "format:         xx\n*name:*../abc (decoding into a folder refuses it: *"},
        {"talvo encode -f binhex abc --type TEXT --creator 0x41424344 --flags 0x101 | talvo info", 0,
         "format:         binhex\nname:           abc\ntype:           54455854 'TEXT'\ncreator:        41424344 "
         "'ABCD'\n"
         "flags:          0x0101\ndata fork:      3 bytes\nresource fork:  0 bytes\ndecoded size:   3 bytes\n*none\n"},
        {"for f in hex base64 qp 'uu --no-header' 'xx --no-header'; do talvo encode -f $f 100 | talvo info; done", 0,
         "format:         hex (a guess*100 bytes\n*base64 (a guess*100 bytes\n*qp (a guess*100 bytes\n*"
         "uu, no header (a guess*100 bytes\n*xx, no header (a guess*100 bytes\n*"},
        {"printf 4142 | talvo info", 0, "format:         hex (a guess from its characters; base64 *"},
        {"talvo info -f uu damaged", 1, "*\n  at the end: there is no 'begin' line\n"},
        {"yes '*' | head -n 50 | talvo info -f hex", 1, "*more than 20\n*"},
        {"printf '~~~~' | talvo info", 1, "", "*"},
        {"talvo info </dev/null", 1, "", "*"},
        {"talvo info missing", 3, "", "*"},
    };
    for (const Line& line : kLines) Expect(line);
}

TEST_F(CommandTest, SaysWhatIsIncomplete) {
    const Line kLines[] = {
        {"mkfifo pipe; talvo encode -f base64 pipe -o out & { cat 786433; sleep 0.5; kill -TERM $!; wait $!; "
         "echo $? >code; } >pipe; cat code",
         0, "143\n", "talvo: interrupted: out is incomplete (* bytes written)\n*"},
        {"talvo decode -f base64 damaged-late -o out; code=$?; wc -c <out; exit $code", 1, "196608\n",
         "talvo: damaged-late: berInvalidCharacterInData * (offset 262144: line 1, column 262145)\n"
         "talvo: out is incomplete (196608 bytes written)\n"},
        // A reader that leaves is no reason to complain.
        {"{ talvo encode -f base64 786433; echo $? >code; } | head -c 10 | wc -c; cat code", 0, "10\n3\n"},
    };
    for (const Line& line : kLines) Expect(line);
}

TEST_F(CommandTest, FindsTheComponent) {
    Put("three", "abc");
    const char* const given = std::getenv("TALVO_MODULE");
    const std::string module = given && *given ? given : command_.parent_path() / "libTalvoBinaryEncoding.so";
    fs::create_directory(folder_ / "elsewhere");
    fs::copy_file(module, folder_ / "elsewhere/copy.so");
    Put("nothing.so", "no module");
    const Line kLines[] = {
        {"talvo encode -vf base64 --module elsewhere/copy.so three", 0, "YWJj",
         "talvo: component from /*/elsewhere/copy.so (given by --module)\n"},
        {"talvo register nothing.so", 4, "", "talvo: cannot register nothing.so: * (error *)\n"},
        {"talvo encode -f base64 --module nothing.so three -o out; code=$?; ls out 2>/dev/null; exit $code", 4, "",
         "talvo: the component cannot be created: *\ntalvo:   from nothing.so: * (error *)\n"},
        {"cd elsewhere && talvo register copy.so", 0, "registered /*/elsewhere/copy.so\n"},
        {"talvo encode -vf base64 three", 0, "YWJj", "talvo: component from /*/elsewhere/copy.so (registered)\n"},
        {"rm elsewhere/copy.so; talvo encode -vf base64 three", 0, "YWJj",
         "talvo: not through the class registry: *\ntalvo: component from /* (beside the command)\n"},
        {"talvo register -q && talvo --version && talvo unregister && talvo --version", 0,
         "talvo *\ncomponent: /*.so (registered)\nunregistered /*.so\ntalvo *.*.*\ncomponent: /* (beside the "
         "command)\n"},
        {"mkdir bin; cp \"$(command -v talvo)\" bin; "
         "LD_LIBRARY_PATH=$(dirname \"$(command -v talvo)\") bin/talvo encode -f base64 three",
         4, "",
         "talvo: the component cannot be created: *\ntalvo:   through the class registry: *\n"
         "talvo:   from /*/bin/libTalvoBinaryEncoding.so or TalvoBinaryEncoding.dll: * (error 126)\n"},
    };
    for (const Line& line : kLines) Expect(line);
}

}  // namespace
