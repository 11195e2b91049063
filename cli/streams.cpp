// What holds for every handle, whatever it is of.
#include "cli/streams.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace talvo {

HANDLE StandardHandle(DWORD which) {
    constexpr DWORD kStreams[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    static const auto handles = [&] {
        std::array<HANDLE, std::size(kStreams)> all{};
        std::ranges::transform(kStreams, all.begin(), [](DWORD stream) {
            const HANDLE handle = GetStdHandle(stream);
            return handle == nullptr ? INVALID_HANDLE_VALUE : handle;
        });
        return all;
    }();
    return handles[static_cast<size_t>(std::ranges::find(kStreams, which) - kStreams)];
}

// The calls on a stream that the parent closed would say nothing helpful.
DWORD OpenStandard(DWORD which, HANDLE& handle) {
    handle = StandardHandle(which);
    return handle == INVALID_HANDLE_VALUE ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
}

bool IsDiskFile(HANDLE file) { return file != INVALID_HANDLE_VALUE && GetFileType(file) == FILE_TYPE_DISK; }

DWORD WriteWhole(HANDLE file, std::span<const BYTE> bytes, ULONGLONG& written) {
    while (!bytes.empty()) {
        const DWORD size = static_cast<DWORD>(std::min<size_t>(bytes.size(), kLargestTransfer));
        DWORD done = 0;
        const BOOL good = WriteFile(file, bytes.data(), size, &done, nullptr);
        const DWORD code = good ? ERROR_SUCCESS : GetLastError();
        written += done;
        bytes = bytes.subspan(done);
        if (!good) return code;
        if (done == 0) return ERROR_WRITE_FAULT;
    }
    return ERROR_SUCCESS;
}

DWORD WriteText(DWORD standardStream, std::string_view text) {
    HANDLE file = INVALID_HANDLE_VALUE;
    if (const DWORD code = OpenStandard(standardStream, file); code != ERROR_SUCCESS) return code;
    ULONGLONG written = 0;
    return WriteWhole(file, std::span(reinterpret_cast<const BYTE*>(text.data()), text.size()), written);
}

bool ReaderIsGone(DWORD code) {
    return code == ERROR_BROKEN_PIPE || code == ERROR_NO_DATA || code == ERROR_PIPE_NOT_CONNECTED;
}

bool IsTerminal(HANDLE file) {
    DWORD mode = 0;
    return file != INVALID_HANDLE_VALUE && GetFileType(file) == FILE_TYPE_CHAR && GetConsoleMode(file, &mode);
}

bool SameFile(HANDLE a, HANDLE b) {
    BY_HANDLE_FILE_INFORMATION first = {}, second = {};
    if (!IsDiskFile(a) || !IsDiskFile(b)) return false;
    if (!GetFileInformationByHandle(a, &first) || !GetFileInformationByHandle(b, &second)) return false;
    return first.dwVolumeSerialNumber == second.dwVolumeSerialNumber && first.nFileIndexHigh == second.nFileIndexHigh &&
           first.nFileIndexLow == second.nFileIndexLow;
}

}  // namespace talvo
