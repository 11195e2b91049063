// What ended a run: told in one place, when everything is closed.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "cli/exit_code.h"

namespace talvo {

struct Failure {
    ExitCode exit = ExitCode::Done;
    std::vector<std::string> messages;  // none: fails without a word

    explicit operator bool() const { return exit != ExitCode::Done; }
};

// "NAME: cannot ACTION: TEXT (error N)" for a code of the file calls.
Failure FileFailure(const std::string& name, const char* action, DWORD code);
// The result of a call on the component.
Failure ResultFailure(const std::string& what, HRESULT result);

ExitCode ExitCodeFor(HRESULT result);

}  // namespace talvo
