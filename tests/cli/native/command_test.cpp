// The command as a process of a shell: what it writes, what it says, how it ends. Each row is a line that a user could
// have typed, in a folder that holds the files made below.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Ending {
    int exit;
    std::string out, err;
};

constexpr size_t kChunk = 256 * 1024;

// * stands for any text, as in file names.
bool Matches(const std::string& text, const char* pattern) { return fnmatch(pattern, text.c_str(), 0) == 0; }

class CommandTest : public testing::Test {
protected:
    void SetUp() override {
        const char* const command = std::getenv("TALVO_COMMAND");
        command_ = command && *command ? fs::path(command) : fs::read_symlink("/proc/self/exe").parent_path() / "talvo";
        ASSERT_TRUE(fs::exists(command_)) << command_;
        std::string pattern = fs::temp_directory_path() / "talvo-cli-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
        fs::create_directory(folder_ / "log");
        for (const size_t size : {size_t{0}, size_t{1}, size_t{57}, size_t{100}, 3 * kChunk, 3 * kChunk + 1})
            Put(std::to_string(size), Noise(size));
        Put("large", Noise(3 * kChunk + 1));
        Put("damaged", "QUJD*REVG");
        Put("cut", "QUJDR");
        // A defect in the second chunk: the first has been written by then.
        Put("damaged-late", std::string(kChunk, 'A') + "*AAA");
    }
    void TearDown() override { fs::remove_all(folder_); }

    // Runs a shell line in the folder; `talvo` is the command, with a registry of this test's own.
    Ending Run(const std::string& line) const {
        const std::string shell =
            "cd '" + folder_.string() + "' && export TALVO_REGISTRY=\"$PWD/registry.reg\" PATH='" +
            command_.parent_path().string() + "':\"$PATH\" && { " + line + "\n} >log/out 2>log/err </dev/null";
        const int status = std::system(shell.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Get("log/out"), Get("log/err")};
    }
    void Put(const std::string& name, const std::string& content) const {
        std::ofstream(folder_ / name, std::ios::binary) << content;
    }
    std::string Get(const std::string& name) const {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(const std::string& name) const { return fs::exists(fs::symlink_status(folder_ / name)); }

    static std::string Noise(size_t size) {
        std::mt19937 random(static_cast<uint32_t>(size));
        std::string bytes(size, '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        return bytes;
    }

    fs::path command_, folder_;
};

TEST_F(CommandTest, ThereAndBack) {
    for (const char* const name : {"0", "1", "57", "100", "786432", "786433"}) {
        const std::string file = name;
        const Ending files = Run("talvo encode -f base64 " + file +
                                 " -o text && talvo decode -f base64 text -o back && cmp " + file + " back");
        EXPECT_EQ(files.exit, 0) << name << files.err;
        EXPECT_EQ(files.out + files.err, "") << name;
        const Ending pipes =
            Run("cat " + file + " | talvo encode -f base64 | tee piped | talvo decode -f base64 - | cmp - " + file +
                " && cmp text piped");
        EXPECT_EQ(pipes.exit, 0) << name << pipes.err;
        // An independent encoder; it ends its last line, which the component leaves open.
        const Ending peer =
            Run("base64 -w 76 " + file + " >peer; talvo encode -f base64 -b lf " + file +
                " >text; test -s text && echo >>text; cmp text peer && tr -d '\\r' <piped | base64 -d | cmp - " + file);
        EXPECT_EQ(peer.exit, 0) << name << peer.err;
    }
}

TEST_F(CommandTest, Options) {
    Put("alphabet", "abcdefghijkl");
    const struct {
        const char* line;
        int exit;
        const char* out;
        const char* err;  // a pattern for all of it
    } kRows[] = {
        {"talvo encode -f base64 alphabet -l 8", 0, "YWJjZGVm\r\nZ2hpamts", ""},
        {"talvo encode -f base64 alphabet -l 8 -b lf", 0, "YWJjZGVm\nZ2hpamts", ""},
        {"talvo encode -f base64 alphabet -l 8 -b cr", 0, "YWJjZGVm\rZ2hpamts", ""},
        {"talvo encode -f base64 alphabet -l 8 -b none", 0, "YWJjZGVmZ2hpamts", ""},
        {"cp alphabet -- -a; talvo encode -f base64 -- -a", 0, "YWJjZGVmZ2hpamts", ""},
        {"talvo decode -f base64 damaged", 1, "",
         "talvo: damaged: berInvalidCharacterInData (0x80044001): Invalid character in the data. "
         "(offset 4: line 1, column 5)\n"},
        {"talvo decode -f base64 -t damaged", 0, "ABCDEF",
         "talvo: damaged: warning: berWarningInvalidCharacterInData (0x00044001): Invalid character in the data. "
         "(in 1 chunk)\n"},
        {"talvo decode -f base64 <cut", 1, "", "talvo: standard input: ber* (0x8004400?): *. (at the end)\n"},
        {"talvo encode -f uu -b none alphabet", 2, "",
         "talvo: --line-breaks: berInvalidEndOfLineType (0x80044019): Invalid end of line type.\n"},
        {"talvo encode -f base64 --wrap 5 alphabet", 2, "",
         "talvo: there is no option '--wrap'\ntalvo: try 'talvo encode --help'\n"},
        {"talvo", 2, "", "talvo: no command given\ntalvo: try 'talvo --help'\n"},
    };
    for (const auto& row : kRows) {
        const Ending ending = Run(row.line);
        EXPECT_EQ(ending.exit, row.exit) << row.line << "\n" << ending.err;
        EXPECT_EQ(ending.out, row.out) << row.line;
        EXPECT_TRUE(Matches(ending.err, row.err)) << row.line << "\n" << ending.err;
    }
}

TEST_F(CommandTest, FilesThatFail) {
    const struct {
        const char* line;
        int exit;
        const char* err;        // a pattern for all of it
        const char* out = "-";  // what file "out" holds afterwards; "-": there is none
    } kRows[] = {
        {"talvo encode -f base64 missing -o out", 3, "talvo: missing: cannot open for reading: * (error 2)\n"},
        {"talvo encode -f base64 no/such -o out", 3, "talvo: no/such: cannot open for reading: * (error 3)\n"},
        {"talvo encode -f base64 . -o out", 3, "talvo: .: cannot open for reading: * (error 5)\n"},
        {"talvo encode -f base64 100 -o no/such", 3, "talvo: no/such: cannot open for writing: * (error 3)\n"},
        {"talvo encode -f base64 100 -o log", 3, "talvo: log: cannot open for writing: * (error 5)\n"},
        {"talvo encode -f base64 100 -o /dev/full", 3, "talvo: /dev/full: cannot write: * (error 112)\n"},
        {"talvo encode -f base64 100 >/dev/full", 3, "talvo: standard output: cannot write: * (error 112)\n"},
        {"talvo --help >/dev/full", 3, "talvo: standard output: cannot write: * (error 112)\n"},
        {"talvo encode -f base64 100 >&-", 3, "talvo: standard output: cannot * (error 6)\n"},
        {"talvo encode -f base64 <&-", 3, "talvo: standard input: cannot * (error 6)\n"},
        {"talvo decode -f base64 damaged -o out", 1, "talvo: damaged: *\n"},
        {"echo old >out; talvo decode -f base64 damaged -o out", 1, "talvo: damaged: *\n", "old\n"},
        {"echo old >out; talvo encode -f base64 0 -o out", 0, "", ""},
        {"ulimit -f 200; trap '' XFSZ; talvo encode -f base64 large -o out; code=$?; : >out; exit $code", 3,
         "talvo: out: cannot write: * (error *)\ntalvo: out is incomplete (102400 bytes written)\n", ""},
        {"cp 100 out; talvo encode -f base64 out -o out; code=$?; cmp out 100 && : >out; exit $code", 3,
         "talvo: out: the destination is the source\n", ""},
        {"cp 100 in; ln -s in link; talvo encode -f base64 in -o link; code=$?; cmp in 100; exit $code", 3,
         "talvo: link: the destination is the source\n"},
        {"cp 100 in; ln -f in link; talvo encode -f base64 in -o ./link; code=$?; cmp in 100; exit $code", 3,
         "talvo: ./link: the destination is the source\n"},
        // A message must not end up in a file that took the place of the closed stream.
        {"talvo decode -f base64 damaged-late -o out 2>&-; code=$?; tr -d '\\000' <out; : >out; exit $code", 1, "", ""},
    };
    for (const auto& row : kRows) {
        fs::remove(folder_ / "out");
        const Ending ending = Run(row.line);
        EXPECT_EQ(ending.exit, row.exit) << row.line << "\n" << ending.err;
        EXPECT_TRUE(Matches(ending.err, row.err)) << row.line << "\n" << ending.err;
        EXPECT_EQ(ending.out, "") << row.line;
        EXPECT_EQ(Exists("out") ? Get("out") : "-", row.out) << row.line;
    }
}

TEST_F(CommandTest, SaysWhatIsIncomplete) {
    const Ending late = Run("talvo decode -f base64 damaged-late -o out");
    EXPECT_EQ(late.exit, 1);
    EXPECT_TRUE(Matches(late.err,
                        "talvo: damaged-late: berInvalidCharacterInData * (offset 262144: line 1, column 262145)\n"
                        "talvo: out is incomplete (196608 bytes written)\n"))
        << late.err;
    EXPECT_EQ(Get("out").size(), 196608u);
    const Ending tolerant = Run("talvo decode -f base64 -t damaged-late | wc -c");
    EXPECT_TRUE(Matches(tolerant.err, "*(in 1 chunk)\n")) << tolerant.err;
    // A reader that leaves is no reason to complain.
    const Ending left = Run("{ talvo encode -f base64 large; echo $? >code; } | head -c 10 | wc -c");
    EXPECT_EQ(left.err, "");
    EXPECT_EQ(Get("code"), "3\n");
}

TEST_F(CommandTest, FindsTheComponent) {
    Put("three", "abc");
    const char* const given = std::getenv("TALVO_MODULE");
    const std::string module = given && *given ? given : command_.parent_path() / "libTalvoBinaryEncoding.so";
    fs::create_directory(folder_ / "elsewhere");
    fs::copy_file(module, folder_ / "elsewhere/copy.so");
    Put("nothing.so", "no module");
    const struct {
        const char* line;
        int exit;
        const char* out;  // patterns for all of it
        const char* err;
    } kRows[] = {
        {"talvo --version", 0, "talvo *.*.*\ncomponent: /* (beside the command)\n", ""},
        {"talvo encode -vf base64 three", 0, "YWJj",
         "talvo: not through the class registry: *\ntalvo: component from /* (beside the command)\n"},
        {"talvo encode -vf base64 --module elsewhere/copy.so three", 0, "YWJj",
         "talvo: component from /*/elsewhere/copy.so (given by --module)\n"},
        {"talvo register nothing.so", 4, "", "talvo: cannot register nothing.so: * (error *)\n"},
        {"talvo encode -f base64 --module nothing.so three -o out; code=$?; ls out 2>/dev/null; exit $code", 4, "",
         "talvo: the component cannot be created: *\ntalvo:   from nothing.so: * (error *)\n"},
        {"cd elsewhere && talvo register copy.so", 0, "registered /*/elsewhere/copy.so\n", ""},
        {"talvo --version", 0, "talvo *\ncomponent: /*/elsewhere/copy.so (registered)\n", ""},
        {"talvo encode -vf base64 three", 0, "YWJj", "talvo: component from /*/elsewhere/copy.so (registered)\n"},
        {"rm elsewhere/copy.so; talvo encode -vf base64 three", 0, "YWJj",
         "talvo: not through the class registry: *\ntalvo: component from /* (beside the command)\n"},
        {"talvo register -q && talvo --version", 0, "talvo *\ncomponent: /*.so (registered)\n", ""},
        {"talvo unregister", 0, "unregistered /*.so\n", ""},
        {"talvo --version", 0, "talvo *\ncomponent: /* (beside the command)\n", ""},
        {"mkdir bin; cp \"$(command -v talvo)\" bin; LD_LIBRARY_PATH=$(dirname \"$(command -v talvo)\") bin/talvo "
         "encode -f base64 three",
         4, "",
         "talvo: the component cannot be created: *\ntalvo:   through the class registry: *\n"
         "talvo:   from /*/bin/libTalvoBinaryEncoding.so or TalvoBinaryEncoding.dll: * (error 126)\n"},
    };
    for (const auto& row : kRows) {
        const Ending ending = Run(row.line);
        EXPECT_EQ(ending.exit, row.exit) << row.line << "\n" << ending.err;
        EXPECT_TRUE(Matches(ending.out, row.out)) << row.line << "\n" << ending.out;
        EXPECT_TRUE(Matches(ending.err, row.err)) << row.line << "\n" << ending.err;
    }
}

}  // namespace
