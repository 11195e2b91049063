// Files where this system shows through: names, other processes, pipes, full devices.
#include "tests/platform/last_error.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;

TEST(NativeFiles, NamesThatCannotExistHere) {
    const struct {
        const char* name;
        LONG error;
    } rows[] = {
        {"c:\\file", ERROR_PATH_NOT_FOUND},
        {"q:file", ERROR_PATH_NOT_FOUND},
        {"\\\\server\\share\\file", ERROR_BAD_NETPATH},
        {"/dev/null/file", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CreateFileA(row.name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr), INVALID_HANDLE_VALUE);
        EXPECT_EQ(LastError(), row.error) << row.name;
    }
}

// Runs `work` in another process and gives back its answer.
template <class Work>
int InChild(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

TEST(NativeFiles, SharingHoldsBetweenProcesses) {
    const std::string name = (fs::temp_directory_path() / ("talvo_shared_" + std::to_string(getpid()))).string();
    const HANDLE writer = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    const auto open = [&name] {
        return Error(CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr) !=
                     INVALID_HANDLE_VALUE);
    };
    const auto remove = [&name] { return Error(DeleteFileA(name.c_str())); };
    EXPECT_EQ(InChild(open), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(InChild(remove), ERROR_SHARING_VIOLATION);
    EXPECT_TRUE(CloseHandle(writer));
    EXPECT_EQ(InChild(open), 0);  // and ends with the process
    EXPECT_EQ(InChild(open), 0);
    EXPECT_EQ(InChild(remove), 0);
}

// Puts one end of a pipe in the place of a standard handle.
class StandardPipe {
public:
    StandardPipe(int standard, int end) : standard_(standard), saved_(dup(standard)) {
        EXPECT_EQ(pipe(ends_), 0);
        dup2(ends_[end], standard_);
        close(ends_[end]);
        other = ends_[1 - end];
    }
    ~StandardPipe() {
        dup2(saved_, standard_);
        close(saved_);
    }
    int other;

private:
    int standard_;
    int saved_;
    int ends_[2];
};

TEST(NativeFiles, EndOfAPipeIsAnError) {
    StandardPipe input(0, 0);
    const HANDLE handle = GetStdHandle(STD_INPUT_HANDLE);
    EXPECT_EQ(GetFileType(handle), FILE_TYPE_PIPE);
    LARGE_INTEGER number = {};
    EXPECT_FALSE(GetFileSizeEx(handle, &number));
    EXPECT_EQ(Error(SetFilePointerEx(handle, number, nullptr, FILE_CURRENT)), ERROR_SEEK_ON_DEVICE);
    ASSERT_EQ(write(input.other, "abc", 3), 3);
    char buffer[8];
    DWORD count = 0;
    EXPECT_TRUE(ReadFile(handle, buffer, sizeof buffer, &count, nullptr));  // what is there, not all that was asked
    EXPECT_EQ(count, 3u);
    close(input.other);
    EXPECT_TRUE(ReadFile(handle, buffer, 0, &count, nullptr));
    EXPECT_EQ(Error(ReadFile(handle, buffer, sizeof buffer, &count, nullptr)), ERROR_BROKEN_PIPE);
    EXPECT_EQ(count, 0u);
}

TEST(NativeFiles, NobodyReadsAPipe) {
    StandardPipe output(2, 1);
    close(output.other);
    DWORD count = 77;
    const HANDLE handle = GetStdHandle(STD_ERROR_HANDLE);
    const LONG error = Error(WriteFile(handle, "x", 1, &count, nullptr));  // and no signal ends the process
    EXPECT_EQ(error, ERROR_NO_DATA);
    EXPECT_EQ(count, 0u);
}

BOOL WINAPI Ignore(DWORD) { return TRUE; }
BOOL WINAPI LetEnd(DWORD) { return FALSE; }

TEST(NativeFiles, InterruptionsReachTheHandlerAddedLast) {
    const struct {
        PHANDLER_ROUTINE first, last;
        int signal;
    } rows[] = {{&LetEnd, &LetEnd, SIGINT}, {&LetEnd, &LetEnd, SIGTERM}, {&LetEnd, &Ignore, 0}, {&Ignore, &LetEnd, 0}};
    for (const auto& row : rows) {
        const pid_t child = fork();
        if (child == 0) {
            SetConsoleCtrlHandler(row.first, TRUE);
            SetConsoleCtrlHandler(row.last, TRUE);
            kill(getpid(), row.signal ? row.signal : SIGINT);
            std::this_thread::sleep_for(std::chrono::milliseconds(row.signal ? 10000 : 100));
            _exit(7);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WIFSIGNALED(status) ? WTERMSIG(status) : 0, row.signal);
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : 7, 7);
    }
}

TEST(NativeFiles, TakeNoStandardStream) {
    EXPECT_EQ(InChild([] {
                  close(STDIN_FILENO);
                  const HANDLE file = CreateFileA("/dev/null", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
                  return file != INVALID_HANDLE_VALUE && GetStdHandle(STD_INPUT_HANDLE) == nullptr ? 0 : 1;
              }),
              0);
}

}  // namespace
