// Sizes are in powers of two with one decimal, computed in integers.
#include "cli/progress.h"

#include <algorithm>

#include "cli/streams.h"
#include "cli/text.h"

namespace talvo {
namespace {

constexpr ULONGLONG kRedrawMilliseconds = 200;
constexpr size_t kBarWidth = 24;

std::string Amount(ULONGLONG bytes) {
    constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (bytes < 1024) return Counted(bytes, "byte");
    size_t unit = 0;
    while (bytes >= 1024 * 1024) {
        bytes /= 1024;
        ++unit;
    }
    return std::to_string(bytes / 1024) + "." + std::to_string(bytes % 1024 * 10 / 1024) + " " + kUnits[unit];
}

std::string Rate(const ProgressState& state) {
    const ULONGLONG time = std::max<ULONGLONG>(state.milliseconds, 1);
    const ULONGLONG wholeSeconds = state.done / time * 1000;  // split, so that nothing overflows
    return Amount(wholeSeconds + state.done % time * 1000 / time) + "/s";
}

std::string RightAligned(const std::string& text, size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

}  // namespace

std::string ProgressLine(const ProgressState& state) {
    const std::string rate = "  " + RightAligned(Rate(state), 12);
    if (!state.total) return Amount(state.done) + rate;
    const ULONGLONG total = std::max<ULONGLONG>({*state.total, state.done, 1});
    const auto part = static_cast<double>(state.done) / static_cast<double>(total);
    const std::string bar(static_cast<size_t>(part * kBarWidth), '#');
    return RightAligned(std::to_string(static_cast<int>(part * 100)), 3) + "% [" + bar +
           std::string(kBarWidth - bar.size(), ' ') + "] " + Amount(state.done) + " of " + Amount(total) + rate;
}

bool WantsProgress(const Options& options, HANDLE input, HANDLE output) {
    if (options.quiet || options.progress) return !options.quiet;
    return IsTerminal(StandardHandle(STD_ERROR_HANDLE)) && !IsTerminal(input) && !IsTerminal(output);
}

void Progress::Show(ULONGLONG done) {
    if (!wanted_) return;
    state_.done = done;
    state_.milliseconds = GetTickCount64() - start_;
    if (state_.milliseconds < nextDraw_) return;
    nextDraw_ = state_.milliseconds + kRedrawMilliseconds;
    Draw(ProgressLine(state_));
}

// Blanks cover what a longer line left behind: they work on every terminal.
void Progress::Draw(const std::string& line) {
    if (line.empty() && drawn_ == 0) return;
    const std::string blanks(drawn_ - std::min(drawn_, line.size()), ' ');
    WriteText(STD_ERROR_HANDLE, "\r" + line + blanks + (line.empty() ? "\r" : ""));
    drawn_ = line.size();
}

}  // namespace talvo
