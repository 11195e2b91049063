// An old file is opened as it is and emptied with the first byte.
#include "cli/destination.h"

#include <utility>

#include "cli/options.h"

namespace talvo {

DWORD Destination::Open(const std::string& name, Mode mode) {
    standard_ = name == kStandardStream;
    name_ = standard_ ? "standard output" : name;
    if (standard_) return OpenStandard(STD_OUTPUT_HANDLE, handle_);
    SetLastError(ERROR_SUCCESS);
    owned_.Reset(CreateFile(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            mode == Mode::New ? CREATE_NEW : OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    const DWORD code = GetLastError();
    handle_ = owned_.Get();
    if (!owned_) return code;
    if (!IsDiskFile(handle_)) return ERROR_SUCCESS;
    created_ = code != ERROR_ALREADY_EXISTS;
    oldFile_ = !created_ && mode == Mode::Replace;
    const LARGE_INTEGER none = {};
    const bool placed = mode != Mode::Append || SetFilePointerEx(handle_, none, nullptr, FILE_END);
    return placed ? ERROR_SUCCESS : GetLastError();
}

DWORD Destination::Empty() {
    if (!std::exchange(oldFile_, false)) return ERROR_SUCCESS;
    if (!SetEndOfFile(handle_)) return GetLastError();
    emptied_ = true;
    return ERROR_SUCCESS;
}

DWORD Destination::Write(std::span<const BYTE> bytes) {
    if (bytes.empty()) return ERROR_SUCCESS;
    if (const DWORD code = Empty(); code != ERROR_SUCCESS) return code;
    return WriteWhole(handle_, bytes, written_);
}

DWORD Destination::Finish() {
    if (const DWORD code = Empty(); code != ERROR_SUCCESS) return code;
    if (!owned_) return ERROR_SUCCESS;
    created_ = false;
    return CloseHandle(owned_.Detach()) ? ERROR_SUCCESS : GetLastError();
}

void Destination::Abandon() {
    owned_.Reset();
    if (std::exchange(created_, false) && written_ == 0) DeleteFile(name_.c_str());
}

}  // namespace talvo
