// Conversions go through the system, so that they are those of the file calls.
#include "cli/text.h"

#include "com/narrow_text.h"

namespace talvo {

std::string Narrow(BSTR wide) {
    const uint32_t size = com::NarrowSize(CP_ACP, wide);
    std::string narrow(size, '\0');
    com::Narrow(CP_ACP, wide, narrow.data(), size);
    return narrow;
}

std::string Counted(unsigned long long count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string InBase(unsigned base, unsigned long long value, size_t least) {
    std::string digits;
    for (; value != 0 || digits.size() < least; value /= base)
        digits.insert(digits.begin(), "0123456789ABCDEF"[value % base]);
    return digits;
}

}  // namespace talvo
