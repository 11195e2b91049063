// Makes a file call fail on purpose. The program's own file calls come before those of the stand-in, for the module and
// everything else in the process; they hand on what is not to fail.
#pragma once

#include <windows.h>

namespace talvo::test {

// The n-th of the following file calls from now (1: the next; 0: none) sets this error and fails without doing anything,
// or, if it `transfers` bytes, does half of that first; a transfer with ERROR_SUCCESS then succeeds so. Answers how many
// calls were still to be let through or failed.
unsigned FailFileCall(unsigned n, DWORD error, bool transfers);

// Name of the call that failed; "" if none has.
const char* FailedFileCall();

}  // namespace talvo::test
