// What the steps of UU and XX are given: alphabet and kernels.
#include "engine/uuxx_tables.h"

#include "engine/kernels/kernels.h"

namespace talvo {
namespace {

constexpr UuXxAlphabet kUu = {kUuDigits, kUuClasses, &kernels::UuEncodeGroups, &kernels::UuDecodeGroups};
constexpr UuXxAlphabet kXx = {kXxDigits, kXxClasses, &kernels::XxEncodeGroups, &kernels::XxDecodeGroups};

}  // namespace

const UuXxAlphabet& UuXxAlphabetOf(FormatKind kind) noexcept { return kind == FormatKind::XX ? kXx : kUu; }

}  // namespace talvo
