// Registry calls: keys and values by name and number, sizes, rights, result codes.
#include "tests/platform/registry_access.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

namespace {

using namespace probe;

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

TEST_F(Registry, KeysAreCreatedOnceAndFoundInAnyCase) {
    const struct {
        const char* name;
        DWORD disposition;
    } rows[] = {{"b\\Two", REG_CREATED_NEW_KEY},
                {"B\\two", REG_OPENED_EXISTING_KEY},
                {"C", REG_CREATED_NEW_KEY},
                {"a", REG_CREATED_NEW_KEY}};
    for (const auto& row : rows) {
        DWORD disposition = 0;
        ASSERT_EQ(CreateKey(key_, row.name, nullptr, &disposition), ERROR_SUCCESS);
        EXPECT_EQ(disposition, row.disposition);
    }
    EXPECT_EQ(OpenKey(key_, "B\\TWO"), ERROR_SUCCESS);
    EXPECT_EQ(OpenKey(key_, "b\\Three"), ERROR_FILE_NOT_FOUND);
    HKEY narrow = nullptr;
    EXPECT_EQ(RegOpenKeyExA(key_, "B\\tWO", 0, KEY_READ, &narrow), ERROR_SUCCESS);
    RegCloseKey(narrow);
    std::string names;
    WCHAR name[16];
    LONG code = ERROR_SUCCESS;
    for (DWORD index = 0, size = 16; code == ERROR_SUCCESS; ++index, size = 16) {
        code = RegEnumKeyExW(key_, index, name, &size, nullptr, nullptr, nullptr, nullptr);
        if (code == ERROR_SUCCESS) names += Narrow(name, size);
    }
    EXPECT_EQ(code, ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(names, "abC") << "in order, as first written";
    DWORD small = 1;
    EXPECT_EQ(RegEnumKeyExW(key_, 0, name, &small, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
}

TEST_F(Registry, Deleting) {
    EXPECT_EQ(CreateKey(key_, "Other"), ERROR_SUCCESS);
    HKEY leaf = nullptr;
    ASSERT_EQ(CreateKey(key_, "Tree\\Leaf", &leaf), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(key_, OLESTR("Tree")), ERROR_ACCESS_DENIED) << "it has a key below it";
    EXPECT_EQ(RegDeleteKeyW(key_, OLESTR("None")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(DeleteTree(key_, "None"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(DeleteTree(key_, "Tree"), ERROR_SUCCESS);
    EXPECT_EQ(OpenKey(key_, "Tree"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(key_, OLESTR("Other")), ERROR_SUCCESS);
    EXPECT_EQ(OpenKey(key_, "Other"), ERROR_FILE_NOT_FOUND);
    DWORD type = 0;
    EXPECT_EQ(CreateKey(leaf, "Below"), ERROR_KEY_DELETED);
    EXPECT_EQ(CreateKey(key_, "Tree\\Leaf"), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(leaf, OLESTR("a"), nullptr, &type, nullptr, nullptr), ERROR_KEY_DELETED)
        << "the new one is another";
    EXPECT_EQ(RegCloseKey(leaf), ERROR_SUCCESS);
    SetValue(key_, "value", REG_SZ, Bytes("v"));
    EXPECT_EQ(RegDeleteTreeW(key_, nullptr), ERROR_SUCCESS) << "what is in it, not the key itself";
    EXPECT_EQ(OpenKey(key_, "Tree"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegQueryValueExW(key_, OLESTR("value"), nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, DataComesBackAsItWasSet) {
    const struct {
        const char* name;
        DWORD type;
        std::string data;
    } rows[] = {
        {"string", REG_SZ, Bytes("some \"quoted\\ text")},
        {"lines", REG_SZ, Bytes("a\r\nb\t")},
        {"empty string", REG_SZ, Bytes("")},
        {"number", REG_DWORD, std::string("\x78\x56\x34\x12", 4)},
        {"bytes", REG_BINARY, std::string(100, '\xEE')},
        {"no bytes", REG_BINARY, {}},
        {"strings", REG_MULTI_SZ, Bytes("a") + Bytes("b") + Bytes("")},
        {"other", 77, "xyz"},
        {"[name] = \"odd\"", REG_SZ, Bytes("x")},
        {"", REG_SZ, Bytes("default")},
    };
    using Found = std::map<std::string, std::pair<DWORD, std::string>>;  // the order is nobody's business
    Found expected, found;
    for (const auto& row : rows) {
        ASSERT_EQ(SetValue(key_, row.name, row.type, row.data), ERROR_SUCCESS) << row.name;
        expected[row.name] = {row.type, row.data};
    }
    for (DWORD index = 0;; ++index) {
        WCHAR name[32];
        BYTE data[128];
        DWORD size = 32, type = 0, room = sizeof data;
        const LONG code = RegEnumValueW(key_, index, name, &size, nullptr, &type, data, &room);
        if (code == ERROR_NO_MORE_ITEMS) break;
        ASSERT_EQ(code, ERROR_SUCCESS);
        found[Narrow(name, size)] = {type, {reinterpret_cast<char*>(data), room}};
    }
    EXPECT_EQ(found, expected);
    for (const auto& row : rows) {
        const Text name = Wide(row.name);
        EXPECT_EQ(RegDeleteValueW(key_, name.c_str()), ERROR_SUCCESS) << row.name;
        EXPECT_EQ(RegDeleteValueW(key_, name.c_str()), ERROR_FILE_NOT_FOUND) << row.name;
    }
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
    } rows[] = {{"VALUE", data, 3, ERROR_MORE_DATA, 6},
                {"value", nullptr, 0, ERROR_SUCCESS, 6},
                {"value", data, 6, ERROR_SUCCESS, 6},
                {"none", data, 6, ERROR_FILE_NOT_FOUND, 6}};
    for (const auto& row : rows) {
        DWORD size = row.room, type = REG_NONE;
        EXPECT_EQ(RegQueryValueExA(key_, row.name, nullptr, &type, row.data, &size), row.code);
        EXPECT_EQ(type == REG_SZ, row.code != ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(size, row.size);
    }
    EXPECT_STREQ(reinterpret_cast<char*>(data), "hello");
    EXPECT_EQ(RegQueryValueExA(key_, "value", nullptr, nullptr, data, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExA(key_, "value", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    DWORD size = sizeof data;
    EXPECT_EQ(RegQueryValueExW(key_, OLESTR("value"), nullptr, nullptr, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(data), size), Bytes("hello"));
}

TEST_F(Registry, Rights) {
    EXPECT_EQ(CreateKey(key_, "Below"), ERROR_SUCCESS);
    HKEY reader = nullptr;
    ASSERT_EQ(OpenKey(key_, "Below", &reader, KEY_QUERY_VALUE), ERROR_SUCCESS);
    WCHAR name[4];
    DWORD size = 4;
    EXPECT_EQ(SetValue(reader, "a", REG_BINARY, "xy"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reader, OLESTR("a")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegEnumKeyExW(reader, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCloseKey(reader), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(reader), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegQueryValueExA(reader, "a", nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
}

}  // namespace
