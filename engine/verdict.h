// A decoder's judgement of one call: the error that ends it, or the warning that goes with its repaired output.
#pragma once

#include <windows.h>

#include "server/results/result_codes.h"

namespace talvo {

class Verdict {
public:
    explicit Verdict(bool tolerant) noexcept : tolerant_(tolerant) {}

    // Judges a defect, given as its error code. True: the step repairs it and goes on. False: the step ends with
    // Result(). The first warning of a call is kept, except that an invalid character replaces any other.
    [[nodiscard]] bool Repairs(HRESULT error) noexcept {
        if (!tolerant_) {
            result_ = error;
            return false;
        }
        if (result_ == S_OK || error == berInvalidCharacterInData) result_ = error & 0x7FFFFFFF;
        return true;
    }
    HRESULT Result() const noexcept { return result_; }

private:
    bool tolerant_;
    HRESULT result_ = S_OK;
};

}  // namespace talvo
