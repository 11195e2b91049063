// What the command tells: an exit code to the shell; to people texts on standard output, and lines on standard error that
// name the file, the result code and its text.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
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

// What ended a run. Said in one place, when everything is closed.
struct Failure {
    ExitCode exit = ExitCode::Done;
    std::vector<std::string> messages;  // none: fails without a word

    explicit operator bool() const { return exit != ExitCode::Done; }
};

// "NAME: cannot ACTION: TEXT (error N)" for a code of the file calls.
Failure FileFailure(const std::string& name, const char* action, DWORD code);
// The result of a call on the component; the exit code says whose fault it is.
Failure ResultFailure(const std::string& what, HRESULT result);

// Writes "talvo: TEXT" as a line of standard error.
void Say(std::string_view text);
// Writes the text on standard output; when that fails, says so.
ExitCode Print(std::string_view text);

// "TEXT (error N)" for a code of the file calls; the text is the system's, or says that it has none.
std::string DescribeError(DWORD code);

// "NAME (0xVALUE): TEXT" for the result of a call on the component: the text is the one that the call published.
std::string DescribeResult(HRESULT result);
// The same for a result of the system, which publishes nothing.
std::string DescribeSystemResult(HRESULT result);

}  // namespace talvo
