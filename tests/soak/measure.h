// What the process holds of the system.
#pragma once

#include <cstddef>

namespace talvo::test {

struct Holding {
    size_t Kilobytes;  // memory of its own
    size_t Handles;
};
Holding Measure();

}  // namespace talvo::test
