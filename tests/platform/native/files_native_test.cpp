// Files where this system shows through: names, other handles and processes, pipes, interruptions.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/platform/kit.h"
#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

constexpr DWORD R = GENERIC_READ;
constexpr DWORD W = GENERIC_WRITE;

// A folder of its own for each test, as the current folder.
class NativeFiles : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory("folder");
        talvo::test::Save("file", "0123456789");
    }

private:
    const talvo::test::CurrentTempFolder folder_;
};

HANDLE Open(const std::string& name, DWORD access, DWORD share, DWORD disposition) {
    return CreateFileA(name.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Opens and closes again; -1 if it worked.
LONG OpenError(const std::string& name, DWORD access, DWORD share, DWORD disposition) {
    const HANDLE file = Open(name, access, share, disposition);
    if (file == INVALID_HANDLE_VALUE) return LastError();
    EXPECT_TRUE(CloseHandle(file));
    return -1;
}

TEST_F(NativeFiles, Names) {
    const struct {
        std::string name;
        DWORD disposition;
        LONG error;
    } rows[] = {
        {"folder/..\\\\file", OPEN_EXISTING, -1},
        {"folder\\none", OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
        {"file\\none", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"", CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {"folder\\", CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"folder", CREATE_NEW, ERROR_FILE_EXISTS},
        {"\\", OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"file\\", OPEN_EXISTING, ERROR_INVALID_NAME},
        {"none\\", CREATE_ALWAYS, ERROR_INVALID_NAME},
        {"none\\", OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
        {std::string(300, 'n'), CREATE_ALWAYS, ERROR_FILENAME_EXCED_RANGE},
        {"c:\\file", CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {"\\\\server\\share\\file", CREATE_ALWAYS, ERROR_BAD_NETPATH},
    };
    for (const auto& row : rows) EXPECT_EQ(OpenError(row.name, W, 0, row.disposition), row.error) << row.name;
    EXPECT_EQ(GetFileAttributesA("folder\\"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(Error(DeleteFileA("folder")), ERROR_ACCESS_DENIED);
    fs::permissions("file", fs::perms::owner_read);
    EXPECT_EQ(GetFileAttributesW(u"file"), DWORD{FILE_ATTRIBUTE_READONLY});
    EXPECT_EQ(Error(DeleteFileA("file")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(OpenError("file", W, 0, OPEN_ALWAYS), ERROR_ACCESS_DENIED);  // whoever asks
    EXPECT_EQ(OpenError("file", R, 0, OPEN_EXISTING), -1);
}

// Every pair of openings: the second works exactly if each allows what the other uses.
TEST_F(NativeFiles, SharingModes) {
    const auto allows = [](DWORD share, DWORD access) {
        return !((access & R) && !(share & FILE_SHARE_READ)) && !((access & W) && !(share & FILE_SHARE_WRITE));
    };
    for (int pair = 0; pair < 3 * 4 * 3 * 4; ++pair) {
        const DWORD uses[] = {R, W, R | W};
        const DWORD first = uses[pair % 3], share = pair / 3 % 4, second = uses[pair / 12 % 3], secondShare = pair / 36;
        const HANDLE file = Open("file", first, share, OPEN_EXISTING);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        const bool both = allows(share, second) && allows(secondShare, first);
        EXPECT_EQ(OpenError("file", second, secondShare, OPEN_EXISTING), both ? -1 : ERROR_SHARING_VIOLATION) << pair;
        EXPECT_TRUE(CloseHandle(file));
    }
    const HANDLE reader = Open("file", R, FILE_SHARE_READ, OPEN_EXISTING);
    EXPECT_EQ(OpenError("file", W, 0, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(fs::file_size("file"), 10u);  // a refused opening empties nothing
    CloseHandle(reader);
    const HANDLE generous = Open("file", R, FILE_SHARE_DELETE, OPEN_EXISTING);
    EXPECT_TRUE(DeleteFileA("file"));
    CloseHandle(generous);
}

// Runs `work` in another process and gives back its answer, or the signal that ended it.
template <class Work>
int InChild(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

TEST_F(NativeFiles, SharingHoldsBetweenProcesses) {
    const HANDLE writer = Open("file", W, 0, OPEN_EXISTING);
    const auto open = [] { return Error(Open("file", W, 0, OPEN_EXISTING) != INVALID_HANDLE_VALUE); };
    const auto remove = [] { return Error(DeleteFileA("file")); };
    EXPECT_EQ(InChild(open), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(InChild(remove), ERROR_SHARING_VIOLATION);
    EXPECT_TRUE(CloseHandle(writer));
    EXPECT_EQ(InChild(open), 0);  // and ends with the process
    EXPECT_EQ(InChild(open), 0);
    EXPECT_EQ(InChild(remove), 0);
}

// One end of a pipe in the place of standard input; whoever is the other end.
TEST_F(NativeFiles, PipesWithoutAnotherEnd) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int saved[] = {dup(0), dup(2)};
    dup2(ends[0], 0);
    close(ends[0]);
    const HANDLE reader = GetStdHandle(STD_INPUT_HANDLE);
    EXPECT_EQ(GetFileType(reader), FILE_TYPE_PIPE);
    LARGE_INTEGER number = {};
    EXPECT_FALSE(GetFileSizeEx(reader, &number));
    EXPECT_EQ(Error(SetFilePointerEx(reader, number, nullptr, FILE_CURRENT)), ERROR_SEEK_ON_DEVICE);
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    char buffer[8];
    DWORD count = 0;
    EXPECT_TRUE(ReadFile(reader, buffer, sizeof buffer, &count, nullptr));  // what is there, not all that was asked
    EXPECT_EQ(count, 3u);
    close(ends[1]);
    EXPECT_EQ(Error(ReadFile(reader, buffer, sizeof buffer, &count, nullptr)), ERROR_BROKEN_PIPE);
    EXPECT_EQ(count, 0u);
    dup2(saved[0], 0);

    ASSERT_EQ(pipe(ends), 0);
    dup2(ends[1], 2);
    close(ends[0]);
    const HANDLE writer = GetStdHandle(STD_ERROR_HANDLE);
    const LONG error = Error(WriteFile(writer, "x", 1, &count, nullptr));  // and no signal ends the process
    dup2(saved[1], 2);
    EXPECT_EQ(error, ERROR_NO_DATA);
    for (const int end : {saved[0], saved[1], ends[1]}) close(end);
}

BOOL WINAPI Ignore(DWORD) { return TRUE; }
BOOL WINAPI LetEnd(DWORD) { return FALSE; }

TEST_F(NativeFiles, InterruptionsReachTheHandlerAddedLast) {
    const struct {
        PHANDLER_ROUTINE first, last;
        int signal, outcome;
    } rows[] = {{&LetEnd, &LetEnd, SIGINT, SIGINT},
                {&LetEnd, &LetEnd, SIGTERM, SIGTERM},
                {&LetEnd, &Ignore, SIGINT, 77},
                {&Ignore, &LetEnd, SIGINT, 77}};
    for (const auto& row : rows) {
        const int outcome = InChild([&row] {
            SetConsoleCtrlHandler(row.first, TRUE);
            SetConsoleCtrlHandler(row.last, TRUE);
            kill(getpid(), row.signal);
            std::this_thread::sleep_for(std::chrono::milliseconds(row.outcome == 77 ? 100 : 10000));
            return 77;
        });
        EXPECT_EQ(outcome, row.outcome);
    }
}

}  // namespace
