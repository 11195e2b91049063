// What ended a run, and what the command then tells the shell. Said in one place, when everything is closed.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace talvo {

// Scripts rely on the numbers; docs/command.md and the help list them.
enum class ExitCode : int {
    Done = 0,        // converted, warnings included
    BadData = 1,     // the input is not what the format demands
    Usage = 2,       // the command line cannot be understood, or asks for what the format refuses
    FileFailed = 3,  // opening, reading or writing failed
    Unavailable = 4  // no component, or it failed for another reason
};

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
