// Folders of a test's own in the system's folder for such things, and whole files in one call.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace talvo::test {

namespace fs = std::filesystem;

// New and empty, with a name that nobody else has; it goes with all that is in it.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const fs::path& Path() const { return path_; }
    std::string Text() const { return path_.string(); }
    // What has this name in it.
    fs::path operator/(const fs::path& name) const { return path_ / name; }

private:
    fs::path path_;
};

// One that is the current folder as long as it lives.
class CurrentTempFolder : public TempFolder {
public:
    CurrentTempFolder() { fs::current_path(Path()); }
    ~CurrentTempFolder() { fs::current_path(before_); }

private:
    const fs::path before_ = fs::current_path();
};

void Save(const fs::path& name, std::string_view bytes);
std::string Load(const fs::path& name);  // "(none)" where no file is

}  // namespace talvo::test
