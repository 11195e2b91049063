// What the command says to people: texts on standard output, and lines on standard error that name the file, the result
// code and its text.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "cli/failure.h"

namespace talvo {

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
