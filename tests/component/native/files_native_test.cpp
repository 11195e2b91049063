// The file methods where only this side can look: every file call failing in turn, full devices, and
// how many files the process has open.
#include <vector>

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

TEST_F(NativeFiles, FullDevices) {
    Save("in", Sample(131072 * 3));
    Expect(Ask(Method::Process, {.Destination = "/dev/full"}), berDiskFull, 0, 0);
    Expect(Ask(Method::Write, {.Destination = "/dev/full", .Data = "ABC"}), berDiskFull, 0, 0);
    // A device that is no file cannot be a source.
    Expect(Ask(Method::Process, {.Source = "/dev/zero"}), berOpenFileForReading, 0, 0);
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
