// A name is a random number; should somebody have it already, making the folder says so, and the next one is tried.
#include "tests/support/temp_folder.h"

#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

namespace talvo::test {

TempFolder::TempFolder() {
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("talvo-test-" + std::to_string((uint64_t{random()} << 32) + random()));
    } while (!fs::create_directory(path_));
}

TempFolder::~TempFolder() {
    std::error_code error;
    fs::remove_all(path_, error);
    EXPECT_FALSE(error) << path_ << ": " << error.message();
}

void Save(const fs::path& name, std::string_view bytes) {
    std::ofstream(name, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string Load(const fs::path& name) {
    std::ifstream file(name, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

}  // namespace talvo::test
