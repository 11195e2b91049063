// Registry calls: keys and values by name and number, sizes, rights, result codes.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace {

class Registry : public testing::Test {
protected:
    void SetUp() override {
        RegDeleteTreeA(HKEY_CURRENT_USER, kFolder);
        ASSERT_EQ(Create(HKEY_CURRENT_USER, kFolder, &key_), ERROR_SUCCESS);
    }
    void TearDown() override {
        RegCloseKey(key_);
        RegDeleteTreeA(HKEY_CURRENT_USER, kFolder);
    }

    static LONG Create(HKEY parent, const char* name, HKEY* key, DWORD* disposition = nullptr) {
        return RegCreateKeyExA(parent, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key, disposition);
    }
    void Add(const char* name) const {
        HKEY key = nullptr;
        ASSERT_EQ(Create(key_, name, &key), ERROR_SUCCESS);
        EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    }
    LONG Set(const char* name, DWORD type, const std::string& data) const {
        return RegSetValueExA(key_, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(data.size()));
    }
    bool Has(const char* name) const {
        HKEY key = nullptr;
        const bool found = RegOpenKeyExA(key_, name, 0, KEY_READ, &key) == ERROR_SUCCESS;
        if (found) RegCloseKey(key);
        return found;
    }

    static constexpr const char* kFolder = "Software\\StandInTest";
    HKEY key_ = nullptr;
};

TEST_F(Registry, KeysAreCreatedOnceAndFoundInAnyCase) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    ASSERT_EQ(Create(key_, "One\\Two", &key, &disposition), ERROR_SUCCESS);
    EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
    RegCloseKey(key);
    ASSERT_EQ(Create(key_, "ONE\\two", &key, &disposition), ERROR_SUCCESS);
    EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
    RegCloseKey(key);
    EXPECT_TRUE(Has("one\\TWO"));
    EXPECT_FALSE(Has("One\\Three"));
    EXPECT_EQ(RegOpenKeyExA(key_, "None", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    char name[20];
    DWORD size = sizeof name;
    ASSERT_EQ(RegEnumKeyExA(key_, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_STREQ(name, "One") << "as first written";
    EXPECT_EQ(size, 3u);
}

TEST_F(Registry, Deleting) {
    Add("Tree\\Leaf");
    Add("Other");
    EXPECT_EQ(RegDeleteKeyA(key_, "Tree"), ERROR_ACCESS_DENIED) << "it has a key below it";
    EXPECT_EQ(RegDeleteKeyA(key_, "None"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteTreeA(key_, "None"), ERROR_FILE_NOT_FOUND);
    HKEY leaf = nullptr;
    ASSERT_EQ(Create(key_, "Tree\\Leaf", &leaf), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteTreeA(key_, "Tree"), ERROR_SUCCESS);
    EXPECT_FALSE(Has("Tree"));
    HKEY below = nullptr;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(leaf, "a", nullptr, &type, nullptr, nullptr), ERROR_KEY_DELETED);
    EXPECT_EQ(Create(leaf, "Below", &below), ERROR_KEY_DELETED);
    Add("Tree\\Leaf");
    EXPECT_EQ(RegQueryValueExA(leaf, "a", nullptr, &type, nullptr, nullptr), ERROR_KEY_DELETED)
        << "the new one is another";
    EXPECT_EQ(RegCloseKey(leaf), ERROR_SUCCESS);
    Set("value", REG_SZ, "v");
    EXPECT_EQ(RegDeleteTreeA(key_, nullptr), ERROR_SUCCESS);
    DWORD keys = 9;
    DWORD values = 9;
    EXPECT_EQ(RegQueryInfoKeyA(key_, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                               nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(keys + values, 0u);
}

TEST_F(Registry, Enumeration) {
    for (const char* name : {"b", "C", "a"}) Add(name);
    std::string names;
    char name[16];
    DWORD index = 0;
    for (;; ++index) {
        DWORD size = sizeof name;
        const LONG code = RegEnumKeyExA(key_, index, name, &size, nullptr, nullptr, nullptr, nullptr);
        if (code == ERROR_NO_MORE_ITEMS) break;
        ASSERT_EQ(code, ERROR_SUCCESS);
        names += name;
    }
    EXPECT_EQ(names, "abC");
    DWORD small = 1;
    EXPECT_EQ(RegEnumKeyExA(key_, 0, name, &small, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);

    Set("text", REG_SZ, std::string("hello", 6));
    Set("", REG_DWORD, std::string("\x01\0\0\0", 4));
    std::map<std::string, std::pair<DWORD, DWORD>> found;  // type and size; the order is nobody's business
    for (index = 0;; ++index) {
        DWORD size = sizeof name;
        DWORD type = 0;
        BYTE data[16];
        DWORD room = sizeof data;
        const LONG code = RegEnumValueA(key_, index, name, &size, nullptr, &type, data, &room);
        if (code == ERROR_NO_MORE_ITEMS) break;
        ASSERT_EQ(code, ERROR_SUCCESS);
        EXPECT_EQ(size, strlen(name));
        found[name] = {type, room};
    }
    EXPECT_EQ(found, (std::map<std::string, std::pair<DWORD, DWORD>>{{"", {REG_DWORD, 4}}, {"text", {REG_SZ, 6}}}));
}

TEST_F(Registry, DataComesBackAsItWasSet) {
    const struct {
        const char* name;
        DWORD type;
        std::string data;
    } rows[] = {
        {"string", REG_SZ, std::string("some \"quoted\\ text", 19)},
        {"lines", REG_SZ, std::string("a\r\nb\t", 6)},
        {"empty string", REG_SZ, std::string(1, '\0')},
        {"number", REG_DWORD, std::string("\x78\x56\x34\x12", 4)},
        {"bytes", REG_BINARY, std::string(100, '\xEE')},
        {"no bytes", REG_BINARY, {}},
        {"strings", REG_MULTI_SZ, std::string("a\0b\0\0", 5)},
        {"other", 77, "xyz"},
        {"[name] = \"odd\"", REG_SZ, std::string("x", 2)},
        {"", REG_SZ, std::string("default", 8)},
    };
    for (const auto& row : rows) ASSERT_EQ(Set(row.name, row.type, row.data), ERROR_SUCCESS) << row.name;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DWORD type = 0;
        DWORD size = 0;
        ASSERT_EQ(RegQueryValueExA(key_, row.name, nullptr, &type, nullptr, &size), ERROR_SUCCESS);
        EXPECT_EQ(type, row.type);
        ASSERT_EQ(size, row.data.size());
        std::string data(size, 'x');
        ASSERT_EQ(RegQueryValueExA(key_, row.name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size),
                  ERROR_SUCCESS);
        EXPECT_EQ(data, row.data);
        EXPECT_EQ(RegDeleteValueA(key_, row.name), ERROR_SUCCESS);
        EXPECT_EQ(RegDeleteValueA(key_, row.name), ERROR_FILE_NOT_FOUND);
    }
}

TEST_F(Registry, RoomForData) {
    Set("value", REG_SZ, std::string("hello", 6));
    BYTE data[8] = {};
    DWORD size = 3;
    EXPECT_EQ(RegQueryValueExA(key_, "VALUE", nullptr, nullptr, data, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(RegQueryValueExA(key_, "value", nullptr, nullptr, data, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExA(key_, "value", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(key_, "none", nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
    WCHAR wide[8] = {};
    size = sizeof wide;
    const WCHAR name[] = {'v', 'a', 'l', 'u', 'e', 0};
    EXPECT_EQ(RegQueryValueExW(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(wide), &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 12u) << "a narrow string is kept wide";
    EXPECT_EQ(wide[4], static_cast<WCHAR>('o'));
}

TEST_F(Registry, Rights) {
    Add("Below");
    HKEY reader = nullptr;
    ASSERT_EQ(RegOpenKeyExA(key_, "Below", 0, KEY_QUERY_VALUE, &reader), ERROR_SUCCESS);
    const BYTE data[2] = {};
    char name[4];
    DWORD size = sizeof name;
    EXPECT_EQ(RegSetValueExA(reader, "a", 0, REG_BINARY, data, 2), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueA(reader, "a"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegEnumKeyExA(reader, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCloseKey(reader), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(reader), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegQueryValueExA(reader, "a", nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
}

}  // namespace
