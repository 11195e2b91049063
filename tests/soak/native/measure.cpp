// Resident memory once the allocator has given back what it keeps, and file descriptors.
#include "tests/soak/measure.h"

#include <malloc.h>

#include <filesystem>
#include <fstream>

namespace talvo::test {

Holding Measure() {
    malloc_trim(0);
    size_t all = 0;
    size_t resident = 0;
    size_t shared = 0;
    std::ifstream("/proc/self/statm") >> all >> resident >> shared;
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return {(resident - shared) * 4, static_cast<size_t>(std::distance(begin(files), end(files)))};
}

}  // namespace talvo::test
