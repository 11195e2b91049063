// The file methods where only this side can look: every file call failing in turn, other users and processes, full
// devices, pipes, and how many files the process has open.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "tests/support/module/client_processor.h"
#include "tests/support/module/file_calls.h"
#include "tests/support/native/file_faults.h"

namespace talvo::test {
namespace {

// As many files are open after a test as before it.
class NativeFiles : public FileMethods {
protected:
    ~NativeFiles() override { EXPECT_EQ(OpenFiles(), open_); }

private:
    static ptrdiff_t OpenFiles() {
        const fs::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    }
    const ptrdiff_t open_ = OpenFiles();
};

// One call goes through every kind of file call: a range, in two slices, appended.
TEST_F(NativeFiles, EveryFileCallFailsOnce) {
    Save("in", Sample(131072 + 30 + 3));
    const FileCall call = {.Offset = 5, .Append = true};
    const struct {
        const char* Name;
        HRESULT Code;    // for an error that the table does not know
        HRESULT Short;   // for a transfer of half the bytes; S_OK for what transfers nothing
        DWORD Written;   // before the failure
        DWORD Half = 0;  // of the failed transfer
    } rows[] = {
        {"CreateFileA", berOpenFileForReading, S_OK, 0},       {"GetFileSizeEx", berOpenFileForReading, S_OK, 0},
        {"SetFilePointerEx", berInvalidFileOffset, S_OK, 0},   {"CreateFileA", berOpenFileForWriting, S_OK, 0},
        {"SetFilePointerEx", berInvalidFileOffset, S_OK, 0},   {"ReadFile", berReadFile, berReadFile, 0},
        {"WriteFile", berWriteFile, berWriteFile, 0, 87380},   {"ReadFile", berReadFile, berReadFile, 174760},
        {"WriteFile", berWriteFile, berWriteFile, 174760, 20},
    };
    unsigned n = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "file call " << ++n << ", " << row.Name);
        const struct {
            DWORD Error;
            bool Transfers;
            HRESULT Code;
            DWORD Written;
        } faults[] = {
            {ERROR_IO_DEVICE, false, row.Code, row.Written},
            {ERROR_SUCCESS, false, row.Code, row.Written},
            {ERROR_DISK_FULL, false, berDiskFull, row.Written},
            {ERROR_SUCCESS, true, row.Short, row.Written + row.Half},
            {ERROR_HANDLE_DISK_FULL, true, row.Short == S_OK ? S_OK : berDiskFull, row.Written + row.Half},
        };
        for (const auto& fault : faults) {
            if (fault.Code == S_OK) continue;
            Save("out", "before");
            FailFileCall(n, fault.Error, fault.Transfers);
            const FileResult result = Ask(Method::Process, call);
            EXPECT_STREQ(FailedFileCall(), row.Name);
            Expect(result, fault.Code, 0, fault.Written);
            EXPECT_EQ(fs::file_size("out"), 6 + fault.Written);
            component_.Native->Reset();
        }
    }
    FailFileCall(n + 1, ERROR_IO_DEVICE, false);
    EXPECT_EQ(Ask(Method::Process, call).Line, "S_OK 131100 174800");
    EXPECT_EQ(FailFileCall(0, 0, false), 1u);  // no more calls than these: one was still to come
}

// What every error of the system becomes, by its number.
TEST_F(NativeFiles, SystemErrors) {
    const struct {
        HRESULT Code;
        std::vector<DWORD> Errors;
    } rows[] = {
        {berFileNotFound, {2}},
        {berPathNotFound, {3, 15, 20, 53, 55, 267}},
        {berAccessDenied, {5, 19, 65, 6009}},
        {berAlreadyInUse, {32, 33, 108, 148}},
        {berInvalidFilename, {111, 123, 206}},
        {berDiskFull, {39, 112}},
        {berWriteFile, {29, 88}},
        {berReadFile, {30}},
        {berAlreadyExists, {80, 183}},
        {berAccessingDrive, {21, 23, 27, 31, 1110}},
        {berOpenFileForReading, {0, 1, 4, 6, 14, 87, 1117}},
    };
    Save("in", "ABC");
    for (const auto& row : rows) {
        for (const DWORD error : row.Errors) {
            FailFileCall(1, error, false);
            EXPECT_EQ(Ask(Method::Read, {}).Line, Name(row.Code) + " 0 0") << error;
        }
    }
}

// Files and folders that are not ours, as an ordinary user sees them.
TEST_F(NativeFiles, WithoutPermission) {
    for (const char* const name : {"in", "secret", "writable"}) Save(name, "ABC");
    fs::create_directory("closed");
    Save("closed/in", "ABC");
    fs::permissions(".", fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
    for (const char* const name : {"secret", "closed"}) fs::permissions(name, fs::perms::none);
    fs::permissions("in", fs::perms::owner_read | fs::perms::others_read);
    fs::permissions("writable", fs::perms::owner_write | fs::perms::others_write);
    fs::permissions("folder", fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const struct {
        const char* Source;
        const char* Destination;
        HRESULT Code;
    } rows[] = {
        {"secret", "writable", berAccessDenied}, {"closed/in", "writable", berAccessDenied},
        {"in", "secret", berAccessDenied},       {"in", "folder/new", berAccessDenied},
        {"in", "closed/new", berAccessDenied},
    };
    for (const auto& row : rows) {
        // Not the error information: the class registry, which knows its source, may be out of this user's reach too.
        EXPECT_EQ(Ask(Method::Process, {.Source = row.Source, .Destination = row.Destination}).Line,
                  Name(row.Code) + " 0 0")
            << row.Source << " to " << row.Destination;
    }
    EXPECT_TRUE(!root || seteuid(0) == 0);
    for (const char* const name : {".", "secret", "closed", "writable", "folder"})
        fs::permissions(name, fs::perms::owner_all);
}

TEST_F(NativeFiles, FullDevices) {
    Save("in", Sample(131072 * 3));
    Expect(Ask(Method::Process, {.Destination = "/dev/full"}), berDiskFull, 0, 0);
    Expect(Ask(Method::Write, {.Destination = "/dev/full", .Data = "ABC"}), berDiskFull, 0, 0);
    // A device that is no file cannot be a source.
    Expect(Ask(Method::Process, {.Source = "/dev/zero"}), berOpenFileForReading, 0, 0);

    // A file that may not grow any further takes what fits, in the middle of the second slice.
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {200000, before.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    const FileResult result = Ask(Method::Process, {});
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    Expect(result, berWriteFile, 0, 200000);
    EXPECT_EQ(fs::file_size("out"), 200000u);
}

// The reader of a pipe leaves between two slices: no signal, and what it has taken is counted.
TEST_F(NativeFiles, InterruptedDestination) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    fcntl(reader, F_SETPIPE_SZ, 1 << 20);
    int slices = 0;
    const auto processor = ClientProcessor::New([&](const char*, std::string_view, LONG) {
        if (++slices == 2) close(reader);
        return Reply{S_PASSTHROUGH};
    });
    format_->putref_SubProcessing(processor->Data());
    Save("in", Sample(131072 * 3));
    Expect(Ask(Method::Process, {.Destination = "pipe"}), berWriteFile, 0, 174760);
    EXPECT_EQ(slices, 2);
}

// Here a slash separates too.
TEST_F(NativeFiles, SlashesInNames) {
    Save("folder/in", "ABC");
    EXPECT_EQ(Ask(Method::Process, {.Source = "folder/in"}).Line, "S_OK 3 4");
    EXPECT_EQ(Ask(Method::Process, {.Source = "out", .Destination = "./", .Action = bfpDecode}).Line, "S_OK 4 3");
    EXPECT_EQ(Load("in"), "ABC");
    EXPECT_EQ(GetName(), "in");
}

}  // namespace
}  // namespace talvo::test
