// Where the bytes go: a file or a standard stream. Functions return a Windows error code; 0 is success. Its owner can
// always tell whether what is left behind is complete.
#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "cli/streams.h"
#include "com/unique.h"

namespace talvo {

class Destination {
public:
    enum class Mode {
        Replace,  // creates the file, or replaces what is in it
        Append,   // creates the file, or writes behind what is in it
        New       // creates the file; ERROR_FILE_EXISTS where there is one
    };

    Destination() = default;
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;
    ~Destination() { Abandon(); }

    // An old file keeps its content until the first byte is written: a conversion that fails before does no harm.
    [[nodiscard]] DWORD Open(const std::string& name, Mode mode = Mode::Replace);
    [[nodiscard]] DWORD Write(std::span<const BYTE> bytes);
    // Ends the file where the writing ended.
    [[nodiscard]] DWORD Finish();
    // Gives up: a file that Open created and that got nothing is removed.
    void Abandon();

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    ULONGLONG Written() const { return written_; }
    // Whether giving up now leaves something other than what was there before.
    bool Changed() const { return written_ != 0 || emptied_; }
    bool IsStandard() const { return standard_; }
    HANDLE Handle() const { return handle_; }
    const std::string& Name() const { return name_; }

private:
    DWORD Empty();

    std::string name_;
    com::UniqueFile owned_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    bool standard_ = false;
    bool created_ = false;  // by Open
    bool oldFile_ = false;  // still has its old content, which the first write removes
    bool emptied_ = false;  // of its old content
    ULONGLONG written_ = 0;
};

}  // namespace talvo
