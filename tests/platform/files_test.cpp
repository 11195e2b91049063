// Files: how they open and what that says, who may open them beside others, names.
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
        {"new", W, CREATE_ALWAYS, true, ERROR_ALREADY_EXISTS},
        {"new", R | W, OPEN_ALWAYS, true, ERROR_ALREADY_EXISTS},
        {"folder/..\\\\file", R, OPEN_EXISTING, true, 0},
        {"none", W, TRUNCATE_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"folder\\none", R, OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"none/file", W, CREATE_ALWAYS, false, ERROR_PATH_NOT_FOUND},
        {"file\\none", R, OPEN_EXISTING, false, ERROR_PATH_NOT_FOUND},
        {"", W, CREATE_ALWAYS, false, ERROR_PATH_NOT_FOUND},
        {"folder\\", W, CREATE_ALWAYS, false, ERROR_ACCESS_DENIED},
        {"folder", W, CREATE_NEW, false, ERROR_FILE_EXISTS},
        {"\\", R, OPEN_EXISTING, false, ERROR_ACCESS_DENIED},
        {"file\\", R, OPEN_EXISTING, false, ERROR_INVALID_NAME},
        {"none\\", W, CREATE_ALWAYS, false, ERROR_INVALID_NAME},
        {"none\\", R, OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND},
        {"file", R, 0, false, ERROR_INVALID_PARAMETER},
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
