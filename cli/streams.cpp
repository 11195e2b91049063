// Handles from the Windows file calls; standard streams are borrowed, files owned.
#include "cli/streams.h"

#include <algorithm>
#include <array>
#include <utility>

#include "cli/options.h"

namespace talvo {
namespace {

constexpr DWORD kLargestTransfer = 1u << 20;

bool IsDiskFile(HANDLE file) { return GetFileType(file) == FILE_TYPE_DISK; }

// A standard stream that the parent closed is null or invalid; the calls on it would say nothing helpful.
DWORD Standard(DWORD which, HANDLE& handle) {
    handle = StandardHandle(which);
    return handle == INVALID_HANDLE_VALUE ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
}

// Path segments of `name` that say where it leads.
std::vector<std::string_view> Segments(std::string_view name) {
    std::vector<std::string_view> segments;
    if (!name.empty() && (name.front() == '/' || name.front() == '\\')) segments.emplace_back("/");
    while (!name.empty()) {
        const size_t end = std::min(name.find_first_of("/\\"), name.size());
        const std::string_view segment = name.substr(0, end);
        if (!segment.empty() && segment != ".") segments.push_back(segment);
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return segments;
}

}  // namespace

HANDLE StandardHandle(DWORD which) {
    struct Entry {
        DWORD which;
        HANDLE handle;
    };
    static const std::array<Entry, 3> entries = [] {
        std::array<Entry, 3> all = {
            {{STD_INPUT_HANDLE, nullptr}, {STD_OUTPUT_HANDLE, nullptr}, {STD_ERROR_HANDLE, nullptr}}};
        for (Entry& entry : all) {
            entry.handle = GetStdHandle(entry.which);
            if (entry.handle == nullptr) entry.handle = INVALID_HANDLE_VALUE;
        }
        return all;
    }();
    return std::ranges::find(entries, which, &Entry::which)->handle;
}

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
    if (const DWORD code = Standard(standardStream, file); code != ERROR_SUCCESS) return code;
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

bool SameName(std::string_view a, std::string_view b) { return Segments(a) == Segments(b); }

// ---- Source -----------------------------------------------------------------------------------------------------

DWORD Source::Open(const std::string& name) {
    if (name == kStandardStream) {
        name_ = "standard input";
        return Standard(STD_INPUT_HANDLE, handle_);
    }
    name_ = name;
    // No sharing for writers: the destination cannot be this file under another name.
    owned_.Reset(CreateFile(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    handle_ = owned_.Get();
    return owned_ ? ERROR_SUCCESS : GetLastError();
}

DWORD Source::Read(std::span<BYTE> room, size_t& got) {
    got = 0;
    while (got < room.size()) {
        const DWORD size = static_cast<DWORD>(std::min<size_t>(room.size() - got, kLargestTransfer));
        DWORD done = 0;
        if (!ReadFile(handle_, room.data() + got, size, &done, nullptr)) {
            const DWORD code = GetLastError();
            return code == ERROR_BROKEN_PIPE || code == ERROR_HANDLE_EOF ? ERROR_SUCCESS : code;  // the writer is done
        }
        if (done == 0) break;
        got += done;
    }
    return ERROR_SUCCESS;
}

std::optional<ULONGLONG> Source::Size() const {
    LARGE_INTEGER size = {}, position = {}, none = {};
    if (!IsDiskFile(handle_) || !GetFileSizeEx(handle_, &size)) return std::nullopt;
    if (!SetFilePointerEx(handle_, none, &position, FILE_CURRENT) || position.QuadPart >= size.QuadPart)
        return std::nullopt;
    return static_cast<ULONGLONG>(size.QuadPart - position.QuadPart);
}

DWORD ChunkReader::Next(Chunk& chunk) {
    if (!std::exchange(started_, true)) {
        if (const DWORD code = source_.Read(ahead_, aheadSize_); code != ERROR_SUCCESS) return code;
    }
    current_.swap(ahead_);
    const size_t size = std::exchange(aheadSize_, 0);
    if (size == current_.size()) {
        if (const DWORD code = source_.Read(ahead_, aheadSize_); code != ERROR_SUCCESS) return code;
    }
    chunk = {std::span(current_).first(size), offset_, aheadSize_ == 0};
    offset_ += size;
    return ERROR_SUCCESS;
}

// ---- Destination ------------------------------------------------------------------------------------------------

DWORD Destination::Open(const std::string& name) {
    standard_ = name == kStandardStream;
    if (standard_) {
        name_ = "standard output";
        return Standard(STD_OUTPUT_HANDLE, handle_);
    }
    name_ = name;
    SetLastError(ERROR_SUCCESS);
    owned_.Reset(CreateFile(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    const DWORD code = GetLastError();
    handle_ = owned_.Get();
    if (!owned_) return code;
    oldFile_ = IsDiskFile(handle_) && code == ERROR_ALREADY_EXISTS;
    created_ = IsDiskFile(handle_) && !oldFile_;
    return ERROR_SUCCESS;
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
