// What the command tells the shell. Scripts rely on the numbers; docs/command.md and the help list them.
#pragma once

namespace talvo {

enum class ExitCode : int {
    Done = 0,        // converted, warnings included
    BadData = 1,     // the input is not what the format demands
    Usage = 2,       // the command line cannot be understood, or asks for what the format refuses
    FileFailed = 3,  // opening, reading or writing failed
    Unavailable = 4  // no component, or it failed for another reason
};

}  // namespace talvo
