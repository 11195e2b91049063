// The line that tells how far a long conversion is: drawn over itself on standard error, gone at the end.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "cli/options.h"

namespace talvo {

struct ProgressState {
    ULONGLONG done = 0;
    std::optional<ULONGLONG> total;  // unset: not known
    ULONGLONG milliseconds = 0;      // since the start
};

// At most 72 characters: percentage, bar, bytes and rate; bytes and rate only where the total is not known.
std::string ProgressLine(const ProgressState& state);

// What the options say; else where somebody watches standard error, and neither types the input nor sees the output there.
bool WantsProgress(const Options& options, HANDLE input, HANDLE output = INVALID_HANDLE_VALUE);

class Progress {
public:
    // Short work shows nothing: the first line comes after half a second.
    Progress(bool wanted, std::optional<ULONGLONG> total) : wanted_(wanted), start_(GetTickCount64()) {
        state_.total = total;
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { Draw({}); }

    void Show(ULONGLONG done);

private:
    void Draw(const std::string& line);

    bool wanted_;
    ULONGLONG start_;
    ULONGLONG nextDraw_ = 500;
    size_t drawn_ = 0;  // characters on the terminal
    ProgressState state_;
};

}  // namespace talvo
