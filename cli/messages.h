// What the command says to people: lines on standard error that name the file, the result code and its text.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace talvo {

// Writes "talvo: TEXT" as a line of standard error.
void Say(std::string_view text);

// The system's text for a code, without its line end; "error N" where it has none.
std::string SystemText(DWORD code);
// "TEXT (error N)" for a code of the file calls.
std::string DescribeError(DWORD code);

// "NAME (0xVALUE): TEXT" for the result of a call on the component: the text is the one that the call published.
std::string DescribeResult(HRESULT result);
// The same for a result of the system, which publishes nothing.
std::string DescribeSystemResult(HRESULT result);

}  // namespace talvo
