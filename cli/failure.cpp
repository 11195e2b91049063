// Which result is whose fault: the data's, the command line's, or the component's.
#include "cli/failure.h"

#include "TalvoBinaryEncoding.h"

#include "cli/messages.h"

namespace talvo {

Failure FileFailure(const std::string& name, const char* action, DWORD code) {
    return {ExitCode::FileFailed, {name + ": cannot " + action + ": " + DescribeError(code)}};
}

Failure ResultFailure(const std::string& what, HRESULT result) {
    return {ExitCodeFor(result), {what + ": " + DescribeResult(result)}};
}

ExitCode ExitCodeFor(HRESULT result) {
    switch (result) {
        case berInvalidCharacterInData:
        case berInvalidEndOfData:
        case berRemainingData:
        case berInvalidLineLengthInData:
        case berInvalidNumberOfCharacterOnLine:
        case berInvalidChecksum:
        case berInvalidHeaderChecksum:
        case berInvalidLengthInHeader:
            return ExitCode::BadData;
        case berInvalidEndOfLineType:
        case berEmptyFileNameInHeader:
            return ExitCode::Usage;
        default:
            return ExitCode::Unavailable;
    }
}

}  // namespace talvo
