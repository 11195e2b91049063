// File names as Windows programs write them, turned into paths of this system. Internal.
#pragma once

#include <limits.h>

#include <windows.h>

namespace platform {

class FilePath {
public:
    // Invalid, with the last error set, for names that cannot exist here: an empty one, one on a drive or a server.
    explicit FilePath(LPCSTR name);
    explicit FilePath(LPCWSTR name);

    explicit operator bool() const { return valid_; }
    const char* Get() const { return path_; }
    bool NamesFolder() const { return namesFolder_; }  // it ended in a separator, which is cut off

    // The error for a path that does not exist: whether it is the last part or the folder that is missing.
    DWORD ErrorIfMissing() const;
    // Sets the last error from errno, for a call about this path that failed.
    BOOL Fail() const;

private:
    void Normalize();

    char path_[PATH_MAX];
    bool valid_ = false;
    bool namesFolder_ = false;
};

}  // namespace platform
