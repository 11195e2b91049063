// Ctrl-C in the middle of a conversion: the process ends as it would anyway, but first says what it leaves incomplete.
#pragma once

#include <mutex>

#include "cli/output.h"

namespace talvo {

// Watches over one output for as long as this lives.
class Interruption {
public:
    explicit Interruption(Output& output);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    // While the output is being worked with, an interruption waits.
    [[nodiscard]] static std::unique_lock<std::timed_mutex> Pause();
};

}  // namespace talvo
