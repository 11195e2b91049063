// Files: how they open and what that says, who may open them beside others, positions, transfers, names.
#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

LONG LastError() { return static_cast<LONG>(GetLastError()); }

namespace fs = std::filesystem;

constexpr DWORD R = GENERIC_READ;
constexpr DWORD W = GENERIC_WRITE;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A folder of its own for each test, as the current folder.
class Files : public testing::Test {
protected:
    void SetUp() override {
        before_ = fs::current_path();
        folder_ = fs::temp_directory_path() / ("talvo_files_" + std::to_string(GetTickCount64()));
        fs::create_directory(folder_);
        fs::current_path(folder_);
        fs::create_directory("folder");
        std::ofstream("file", std::ios::binary) << "0123456789";
    }
    void TearDown() override {
        fs::current_path(before_);
        fs::remove_all(folder_);
    }

private:
    fs::path before_;
    fs::path folder_;
};

HANDLE Open(const char* name, DWORD access, DWORD share, DWORD disposition) {
    return CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Opens and closes again; -1 if it worked.
int OpenError(const char* name, DWORD access, DWORD share, DWORD disposition) {
    const HANDLE file = Open(name, access, share, disposition);
    if (file == INVALID_HANDLE_VALUE) return static_cast<int>(GetLastError());
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
        {"file", R, OPEN_EXISTING, true, 0},
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
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, row.opens);
        EXPECT_EQ(LastError(), row.error);
        if (file != INVALID_HANDLE_VALUE) {
            EXPECT_TRUE(CloseHandle(file));
        }
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
    EXPECT_FALSE(DeleteFileA("file"));
    EXPECT_EQ(LastError(), ERROR_SHARING_VIOLATION);
    EXPECT_FALSE(MoveFileExA("file", "moved", 0));
    EXPECT_EQ(LastError(), ERROR_SHARING_VIOLATION);
    std::ofstream("other") << "x";
    EXPECT_FALSE(MoveFileExA("other", "file", MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(LastError(), ERROR_ACCESS_DENIED);
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
    EXPECT_EQ(SetFilePointer(file, -4, nullptr, FILE_END), 6u);
    EXPECT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, nullptr));
    EXPECT_EQ(std::string(buffer, count), "6789");
    const struct {
        LONG low;
        LONG high;
        bool hasHigh;
        DWORD method;
        DWORD result;
        LONG resultHigh;
        LONG error;
    } rows[] = {
        {3, 0, false, FILE_BEGIN, 3, 0, 7},
        {2, 0, false, FILE_CURRENT, 5, 0, 7},
        {-6, 0, false, FILE_CURRENT, INVALID_SET_FILE_POINTER, 0, ERROR_NEGATIVE_SEEK},
        {-1, 0, false, FILE_BEGIN, INVALID_SET_FILE_POINTER, 0, ERROR_NEGATIVE_SEEK},
        {0, 0, false, 7, INVALID_SET_FILE_POINTER, 0, ERROR_INVALID_PARAMETER},
        {3, 1, true, FILE_BEGIN, 3, 1, 7},
        {-4, -1, true, FILE_CURRENT, 0xFFFFFFFF, 0, NO_ERROR},
        {-1, 0, true, FILE_BEGIN, 0xFFFFFFFF, 0, NO_ERROR},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.low << ' ' << row.high << ' ' << row.method);
        LONG high = row.high;
        SetLastError(7);
        EXPECT_EQ(SetFilePointer(file, row.low, row.hasHigh ? &high : nullptr, row.method), row.result);
        if (row.error != 7) {
            EXPECT_EQ(LastError(), row.error);
        }
        if (row.hasHigh) {
            EXPECT_EQ(high, row.resultHigh);
        }
    }
    LARGE_INTEGER position, moved, size;
    position.QuadPart = 4;
    EXPECT_TRUE(SetFilePointerEx(file, position, &moved, FILE_BEGIN));
    EXPECT_EQ(moved.QuadPart, 4);
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_EQ(GetFileSize(file, nullptr), 4u);
    position.QuadPart = 5LL << 30;
    EXPECT_TRUE(SetFilePointerEx(file, position, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, 5LL << 30);
    DWORD high = 0;
    EXPECT_EQ(GetFileSize(file, &high), 1u << 30);
    EXPECT_EQ(high, 1u);
    EXPECT_EQ(GetFileType(file), DWORD{FILE_TYPE_DISK});
    DWORD mode = 0;
    EXPECT_FALSE(GetConsoleMode(file, &mode));
    EXPECT_TRUE(CloseHandle(file));
}

TEST_F(Files, RightsAndBadHandles) {
    char byte = 0;
    DWORD count = 77;
    const HANDLE reader = Open("file", R, kShareAll, OPEN_EXISTING);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &count, nullptr));
    EXPECT_EQ(LastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(SetEndOfFile(reader));
    const HANDLE writer = Open("file", W, kShareAll, OPEN_EXISTING);
    EXPECT_FALSE(ReadFile(writer, &byte, 1, &count, nullptr));
    EXPECT_EQ(LastError(), ERROR_ACCESS_DENIED);
    CloseHandle(writer);
    CloseHandle(reader);
    EXPECT_FALSE(CloseHandle(reader));
    EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
    for (const HANDLE bad : {reader, INVALID_HANDLE_VALUE, HANDLE{}}) {
        EXPECT_FALSE(ReadFile(bad, &byte, 1, &count, nullptr));
        EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
        EXPECT_FALSE(WriteFile(bad, &byte, 1, &count, nullptr));
        EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(SetFilePointer(bad, 0, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
        EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(GetFileSize(bad, nullptr), INVALID_FILE_SIZE);
        EXPECT_EQ(LastError(), ERROR_INVALID_HANDLE);
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
        EXPECT_EQ(info[i].nFileSizeHigh, 0u);
        EXPECT_EQ(info[i].nNumberOfLinks, i == 2 ? 1u : 2u) << names[i];
        EXPECT_NE(info[i].ftLastWriteTime.dwHighDateTime, 0u);
        const bool same = info[i].dwVolumeSerialNumber == info[0].dwVolumeSerialNumber &&
                          info[i].nFileIndexHigh == info[0].nFileIndexHigh &&
                          info[i].nFileIndexLow == info[0].nFileIndexLow;
        EXPECT_EQ(same, i != 2) << names[i];
    }
    EXPECT_FALSE(GetFileInformationByHandle(INVALID_HANDLE_VALUE, &info[0]));
}

TEST_F(Files, Names) {
    const WCHAR wide[] = {'w', 0xE9, 0x20AC, 0};
    const HANDLE file = CreateFileW(wide, W, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    EXPECT_TRUE(fs::exists(fs::path(std::basic_string<WCHAR>(wide))));
    EXPECT_EQ(GetFileAttributesW(wide) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_TRUE(DeleteFileW(wide));
    EXPECT_EQ(GetFileAttributesW(wide), INVALID_FILE_ATTRIBUTES);

    EXPECT_EQ(GetFileAttributesA("folder\\"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(GetFileAttributesA("file") & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY), 0u);
    fs::permissions("file", fs::perms::owner_read);
    EXPECT_TRUE(GetFileAttributesA("file") & FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(DeleteFileA("file"));
    EXPECT_EQ(LastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(OpenError("file", W, 0, OPEN_ALWAYS), ERROR_ACCESS_DENIED);  // whoever asks
    EXPECT_EQ(OpenError("file", R, 0, OPEN_EXISTING), -1);
    fs::permissions("file", fs::perms::owner_read | fs::perms::owner_write);
    std::ofstream("other") << "other";

    const struct {
        const char* name;
        LONG attributes;
        LONG deletion;
    } missing[] = {
        {"none", ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND},
        {"none\\x", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"file\\x", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"folder", 0, ERROR_ACCESS_DENIED},
    };
    for (const auto& row : missing) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(GetFileAttributesA(row.name) == INVALID_FILE_ATTRIBUTES, row.attributes != 0);
        if (row.attributes != 0) {
            EXPECT_EQ(LastError(), row.attributes);
        }
        EXPECT_FALSE(DeleteFileA(row.name));
        EXPECT_EQ(LastError(), row.deletion);
    }
    const struct {
        const char* from;
        const char* to;
        DWORD flags;
        LONG error;
    } moves[] = {
        {"other", "file", 0, ERROR_ALREADY_EXISTS},
        {"none", "file", MOVEFILE_REPLACE_EXISTING, ERROR_FILE_NOT_FOUND},
        {"file", "none/file", MOVEFILE_REPLACE_EXISTING, ERROR_PATH_NOT_FOUND},
        {"file", "folder", MOVEFILE_REPLACE_EXISTING, ERROR_ACCESS_DENIED},
        {"file", "file", 0, 0},
        {"other", "folder\\inside", 0, 0},
        {"folder/inside", "file", MOVEFILE_REPLACE_EXISTING, 0},
    };
    for (const auto& row : moves) {
        SCOPED_TRACE(std::string(row.from) + " to " + row.to);
        EXPECT_EQ(MoveFileExA(row.from, row.to, row.flags), row.error == 0);
        if (row.error != 0) {
            EXPECT_EQ(LastError(), row.error);
        }
    }
    EXPECT_EQ(fs::file_size("file"), 5u);
    EXPECT_FALSE(fs::exists("folder/inside"));
}

}  // namespace
