// Files: how they open and what that says, who may open them beside others, positions, transfers, names.
#include "tests/platform/last_error.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr DWORD R = GENERIC_READ;
constexpr DWORD W = GENERIC_WRITE;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A folder of its own for each test, as the current folder.
class Files : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory("folder");
        talvo::test::Save("file", "0123456789");
    }

private:
    const talvo::test::CurrentTempFolder folder_;
};

HANDLE Open(const char* name, DWORD access, DWORD share, DWORD disposition) {
    return CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Opens and closes again; -1 if it worked.
LONG OpenError(const char* name, DWORD access, DWORD share, DWORD disposition) {
    const HANDLE file = Open(name, access, share, disposition);
    if (file == INVALID_HANDLE_VALUE) return LastError();
    EXPECT_TRUE(CloseHandle(file));
    return -1;
}

TEST_F(Files, OpeningSaysWhatHappened) {
    const struct {
        const char* name;
        DWORD access;
        DWORD disposition;
        bool opens;
        LONG error;
    } rows[] = {
        {"new", W, CREATE_NEW, true, 0},
        {"new", W, CREATE_NEW, false, ERROR_FILE_EXISTS},
        {"new2", W, CREATE_ALWAYS, true, ERROR_SUCCESS},
        {"new2", W, CREATE_ALWAYS, true, ERROR_ALREADY_EXISTS},
        {"new3", W, OPEN_ALWAYS, true, ERROR_SUCCESS},
        {"new3", R | W, OPEN_ALWAYS, true, ERROR_ALREADY_EXISTS},
        {"folder\\..\\file", R, OPEN_EXISTING, true, 0},
        {"folder/..\\\\file", R, OPEN_EXISTING, true, 0},
        {"none", R, OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"none", W, TRUNCATE_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"folder\\none", R, OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"none\\file", R, OPEN_EXISTING, false, ERROR_PATH_NOT_FOUND},
        {"none/file", W, CREATE_ALWAYS, false, ERROR_PATH_NOT_FOUND},
        {"file\\none", R, OPEN_EXISTING, false, ERROR_PATH_NOT_FOUND},
        {"", R, OPEN_EXISTING, false, ERROR_PATH_NOT_FOUND},
        {"", W, CREATE_ALWAYS, false, ERROR_PATH_NOT_FOUND},
        {"folder", R, OPEN_EXISTING, false, ERROR_ACCESS_DENIED},
        {"folder", W, CREATE_ALWAYS, false, ERROR_ACCESS_DENIED},
        {"folder\\", W, CREATE_ALWAYS, false, ERROR_ACCESS_DENIED},
        {"folder", W, CREATE_NEW, false, ERROR_FILE_EXISTS},
        {"\\", R, OPEN_EXISTING, false, ERROR_ACCESS_DENIED},
        {"file\\", R, OPEN_EXISTING, false, ERROR_INVALID_NAME},
        {"none\\", W, CREATE_ALWAYS, false, ERROR_INVALID_NAME},
        {"none\\", R, OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"file", R, 0, false, ERROR_INVALID_PARAMETER},
        {"file", R, 9, false, ERROR_INVALID_PARAMETER},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " " + std::to_string(row.disposition));
        SetLastError(0);
        const HANDLE file = Open(row.name, row.access, 0, row.disposition);
        EXPECT_EQ(LastError(), row.error);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE && CloseHandle(file), row.opens);
    }
    EXPECT_EQ(fs::file_size("file"), 10u);
    EXPECT_EQ(OpenError("file", W, 0, CREATE_ALWAYS), -1);
    EXPECT_EQ(fs::file_size("file"), 0u);
    EXPECT_EQ(OpenError(std::string(300, 'n').c_str(), W, 0, CREATE_ALWAYS), ERROR_FILENAME_EXCED_RANGE);
}

// Every pair of openings: the second works exactly if each allows what the other uses.
TEST_F(Files, SharingModes) {
    const DWORD uses[] = {R, W, R | W};
    const auto allows = [](DWORD share, DWORD access) {
        return !((access & R) && !(share & FILE_SHARE_READ)) && !((access & W) && !(share & FILE_SHARE_WRITE));
    };
    for (const DWORD firstAccess : uses) {
        for (DWORD firstShare = 0; firstShare < 4; ++firstShare) {
            const HANDLE first = Open("file", firstAccess, firstShare, OPEN_EXISTING);
            ASSERT_NE(first, INVALID_HANDLE_VALUE);
            for (const DWORD access : uses) {
                for (DWORD share = 0; share < 4; ++share) {
                    const bool both = allows(firstShare, access) && allows(share, firstAccess);
                    EXPECT_EQ(OpenError("file", access, share, OPEN_EXISTING), both ? -1 : ERROR_SHARING_VIOLATION)
                        << std::hex << firstAccess << ' ' << firstShare << ' ' << access << ' ' << share;
                }
            }
            EXPECT_TRUE(CloseHandle(first));
        }
    }
    const HANDLE reader = Open("file", R, FILE_SHARE_READ, OPEN_EXISTING);
    EXPECT_EQ(OpenError("file", W, 0, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(fs::file_size("file"), 10u);  // a refused opening empties nothing
    EXPECT_EQ(Error(DeleteFileA("file")), ERROR_SHARING_VIOLATION);
    CloseHandle(reader);
    const HANDLE generous = Open("file", R, kShareAll, OPEN_EXISTING);
    EXPECT_TRUE(DeleteFileA("file"));
    CloseHandle(generous);
}

TEST_F(Files, TransfersAndPositions) {
    const HANDLE file = Open("data", R | W, 0, CREATE_NEW);
    char buffer[32] = {};
    DWORD count = 77;
    EXPECT_TRUE(WriteFile(file, "0123456789", 10, &count, nullptr));
    EXPECT_EQ(count, 10u);
    EXPECT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, nullptr));  // at the end: success with nothing
    EXPECT_EQ(count, 0u);
    const struct {
        LONGLONG distance;
        DWORD method;
        LONG error;
        LONGLONG position;
    } rows[] = {
        {3, FILE_BEGIN, 0, 3},
        {2, FILE_CURRENT, 0, 5},
        {-6, FILE_CURRENT, ERROR_NEGATIVE_SEEK, 5},
        {-1, FILE_BEGIN, ERROR_NEGATIVE_SEEK, 5},
        {0, 7, ERROR_INVALID_PARAMETER, 5},
        {5LL << 30, FILE_BEGIN, 0, 5LL << 30},
        {-4, FILE_END, 0, 6},
    };
    LARGE_INTEGER distance, position, size;
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.distance << ' ' << row.method);
        distance.QuadPart = row.distance;
        EXPECT_EQ(Error(SetFilePointerEx(file, distance, &position, row.method)), row.error);
        distance.QuadPart = 0;
        EXPECT_TRUE(SetFilePointerEx(file, distance, &position, FILE_CURRENT));
        EXPECT_EQ(position.QuadPart, row.position);
    }
    EXPECT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, nullptr));
    EXPECT_EQ(std::string(buffer, count), "6789");
    for (const LONGLONG end : {4LL, 5LL << 30}) {
        distance.QuadPart = end;
        EXPECT_TRUE(SetFilePointerEx(file, distance, nullptr, FILE_BEGIN));
        EXPECT_TRUE(SetEndOfFile(file));
        EXPECT_TRUE(GetFileSizeEx(file, &size));
        EXPECT_EQ(size.QuadPart, end);
    }
    EXPECT_EQ(GetFileType(file), DWORD{FILE_TYPE_DISK});
    EXPECT_FALSE(GetConsoleMode(file, &count));
    EXPECT_TRUE(CloseHandle(file));
}

TEST_F(Files, RightsAndBadHandles) {
    char byte = 0;
    DWORD count = 77;
    LARGE_INTEGER number = {};
    BY_HANDLE_FILE_INFORMATION information;
    const HANDLE reader = Open("file", R, kShareAll, OPEN_EXISTING);
    EXPECT_EQ(Error(WriteFile(reader, "x", 1, &count, nullptr)), ERROR_ACCESS_DENIED);
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(SetEndOfFile(reader));
    const HANDLE writer = Open("file", W, kShareAll, OPEN_EXISTING);
    EXPECT_EQ(Error(ReadFile(writer, &byte, 1, &count, nullptr)), ERROR_ACCESS_DENIED);
    CloseHandle(writer);
    CloseHandle(reader);
    EXPECT_EQ(Error(CloseHandle(reader)), ERROR_INVALID_HANDLE);
    for (const HANDLE bad : {reader, INVALID_HANDLE_VALUE, HANDLE{}}) {
        EXPECT_EQ(Error(ReadFile(bad, &byte, 1, &count, nullptr)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(Error(WriteFile(bad, &byte, 1, &count, nullptr)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(Error(SetFilePointerEx(bad, number, nullptr, FILE_BEGIN)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(Error(GetFileSizeEx(bad, &number)), ERROR_INVALID_HANDLE);
        EXPECT_FALSE(GetFileInformationByHandle(bad, &information));
    }
    EXPECT_EQ(GetStdHandle(5), INVALID_HANDLE_VALUE);
    EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
}

TEST_F(Files, InformationTellsFilesApart) {
    std::ofstream("other", std::ios::binary) << "0123456789";
    fs::create_hard_link("file", "link");
    BY_HANDLE_FILE_INFORMATION info[3];
    const char* const names[] = {"file", "link", "other"};
    for (int i = 0; i < 3; ++i) {
        const HANDLE file = Open(names[i], R, kShareAll, OPEN_EXISTING);
        EXPECT_TRUE(GetFileInformationByHandle(file, &info[i])) << names[i];
        EXPECT_TRUE(CloseHandle(file));
        EXPECT_EQ(info[i].nFileSizeLow, 10u);
        EXPECT_EQ(info[i].nNumberOfLinks, i == 2 ? 1u : 2u) << names[i];
        const bool same = info[i].dwVolumeSerialNumber == info[0].dwVolumeSerialNumber &&
                          info[i].nFileIndexHigh == info[0].nFileIndexHigh &&
                          info[i].nFileIndexLow == info[0].nFileIndexLow;
        EXPECT_EQ(same, i != 2) << names[i];
    }
}

TEST_F(Files, Names) {
    const WCHAR wide[] = {'w', 0xE9, 0x20AC, 0};
    std::ofstream(fs::path(std::basic_string<WCHAR>(wide))) << "x";
    EXPECT_EQ(GetFileAttributesW(wide) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    const struct {
        const char* name;
        LONG attributes;  // the error of asking for them
        LONG deletion;
    } rows[] = {
        {"none", ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND},
        {"none\\x", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"file\\x", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"folder", 0, ERROR_ACCESS_DENIED},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Error(GetFileAttributesA(row.name) != INVALID_FILE_ATTRIBUTES), row.attributes);
        EXPECT_EQ(Error(DeleteFileA(row.name)), row.deletion);
    }
    EXPECT_EQ(GetFileAttributesA("folder\\"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(GetFileAttributesA("file") & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY), 0u);
    fs::permissions("file", fs::perms::owner_read);
    EXPECT_TRUE(GetFileAttributesA("file") & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Error(DeleteFileA("file")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(OpenError("file", W, 0, OPEN_ALWAYS), ERROR_ACCESS_DENIED);  // whoever asks
    EXPECT_EQ(OpenError("file", R, 0, OPEN_EXISTING), -1);
    fs::permissions("file", fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace
