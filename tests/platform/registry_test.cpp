// What the registration of a module does not ask of the registry calls: sizes, order, and what is not there.
#include "tests/support/registry_view.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace talvo::test;

class Registry : public testing::Test {
protected:
    void SetUp() override {
        DeleteTree(HKEY_CURRENT_USER, kFolder);
        ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, kFolder, &key_), ERROR_SUCCESS);
    }
    void TearDown() override {
        RegCloseKey(key_);
        DeleteTree(HKEY_CURRENT_USER, kFolder);
    }

    static constexpr const char* kFolder = "Software\\StandInTest";
    HKEY key_ = nullptr;
};

TEST_F(Registry, KeysAreFoundInAnyCaseAndDeletedWhenEmpty) {
    for (const char* name : {"b\\Two", "B\\two", "C", "a"}) EXPECT_EQ(CreateKey(key_, name), ERROR_SUCCESS);
    WCHAR name[16];
    std::string names;
    DWORD index = 0;
    for (DWORD size = 16; RegEnumKeyExW(key_, index, name, &size, nullptr, nullptr, nullptr, nullptr) == 0; size = 16) {
        names += Narrow({name, size});
        ++index;
    }
    EXPECT_EQ(names, "abC") << "in order, as first written";
    DWORD small = 1;
    EXPECT_EQ(RegEnumKeyExW(key_, 0, name, &small, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    EXPECT_EQ(RegDeleteKeyW(key_, OLESTR("b")), ERROR_ACCESS_DENIED) << "it has a key below it";
    EXPECT_EQ(RegDeleteKeyW(key_, OLESTR("b\\TWO")), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(key_, OLESTR("b\\TWO")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(DeleteTree(key_, "None"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenKey(key_, "B"), ERROR_SUCCESS);
}

TEST_F(Registry, RoomForData) {
    SetValue(key_, "value", REG_SZ, Bytes("hello"));
    BYTE data[16] = {};
    const struct {
        const char* name;
        BYTE* data;
        DWORD room;
        LONG code;
        DWORD size;
    } rows[] = {{"VALUE", data, 5, ERROR_MORE_DATA, 6},
                {"value", nullptr, 0, ERROR_SUCCESS, 6},
                {"value", data, 6, ERROR_SUCCESS, 6},
                {"none", data, 6, ERROR_FILE_NOT_FOUND, 6}};
    for (const auto& row : rows) {
        DWORD size = row.room, type = 0;
        EXPECT_EQ(RegQueryValueExA(key_, row.name, nullptr, &type, row.data, &size), row.code);
        EXPECT_EQ(type == REG_SZ, row.code != ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(size, row.size);
    }
    EXPECT_STREQ(reinterpret_cast<char*>(data), "hello");
}

}  // namespace
