// A range of a disk file is reached by moving to it, that of a pipe by reading up to it.
#include "cli/source.h"

#include <algorithm>
#include <utility>

#include "cli/options.h"

namespace talvo {

DWORD Source::Open(const std::string& name, const Range& range) {
    left_ = range.size;
    name_ = name == kStandardStream ? "standard input" : name;
    if (name == kStandardStream) {
        if (const DWORD code = OpenStandard(STD_INPUT_HANDLE, handle_); code != ERROR_SUCCESS) return code;
    } else {
        // No sharing for writers: the destination cannot be this file under another name.
        owned_.Reset(CreateFile(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
        handle_ = owned_.Get();
        if (!owned_) return GetLastError();
    }
    return range.offset == 0 ? ERROR_SUCCESS : Skip(range.offset);
}

DWORD Source::Skip(ULONGLONG count) {
    const std::optional<ULONGLONG> whole = std::exchange(left_, std::nullopt);
    const std::optional<ULONGLONG> there = Size();
    if (there && *there < count) return ERROR_HANDLE_EOF;
    if (there) {
        LARGE_INTEGER distance = {};
        distance.QuadPart = static_cast<LONGLONG>(count);
        if (!SetFilePointerEx(handle_, distance, nullptr, FILE_CURRENT)) return GetLastError();
    } else {
        std::vector<BYTE> room(static_cast<size_t>(std::min<ULONGLONG>(count, kLargestTransfer)));
        for (size_t got = 0; count != 0; count -= got) {
            const auto wanted = static_cast<size_t>(std::min<ULONGLONG>(count, room.size()));
            if (const DWORD code = Read(std::span(room).first(wanted), got); code != ERROR_SUCCESS) return code;
            if (got == 0) return ERROR_HANDLE_EOF;
        }
    }
    left_ = whole;
    return ERROR_SUCCESS;
}

DWORD Source::Read(std::span<BYTE> room, size_t& got) {
    got = 0;
    if (left_ && *left_ < room.size()) room = room.first(static_cast<size_t>(*left_));
    while (got < room.size()) {
        const DWORD size = static_cast<DWORD>(std::min<size_t>(room.size() - got, kLargestTransfer));
        DWORD done = 0;
        if (!ReadFile(handle_, room.data() + got, size, &done, nullptr)) {
            const DWORD code = GetLastError();
            if (code == ERROR_BROKEN_PIPE || code == ERROR_HANDLE_EOF) break;  // the writer is done
            return code;
        }
        if (done == 0) break;
        got += done;
    }
    if (left_) *left_ -= got;
    return ERROR_SUCCESS;
}

std::optional<ULONGLONG> Source::Size() const {
    LARGE_INTEGER size = {}, position = {}, none = {};
    if (!IsDiskFile(handle_) || !GetFileSizeEx(handle_, &size)) return std::nullopt;
    if (!SetFilePointerEx(handle_, none, &position, FILE_CURRENT)) return std::nullopt;
    const auto there = static_cast<ULONGLONG>(std::max<LONGLONG>(size.QuadPart - position.QuadPart, 0));
    return left_ ? std::min(there, *left_) : there;
}

Failure OpenSource(Source& source, const std::string& name, const Range& range) {
    const DWORD code = source.Open(name, range);
    if (code == ERROR_HANDLE_EOF) return {ExitCode::Usage, {source.Name() + ": it ends before --offset"}};
    return code == ERROR_SUCCESS ? Failure() : FileFailure(source.Name(), "open for reading", code);
}

DWORD ChunkReader::Fill() {
    aheadSize_ = 0;
    while (true) {
        size_t got = 0;
        const DWORD code = sources_[at_]->Read(std::span(ahead_).subspan(aheadSize_), got);
        if (code != ERROR_SUCCESS) return code;
        aheadSize_ += got;
        if (aheadSize_ == ahead_.size() || at_ + 1 == sources_.size()) return ERROR_SUCCESS;
        ++at_;
    }
}

DWORD ChunkReader::Next(Chunk& chunk) {
    if (!std::exchange(started_, true)) {
        if (const DWORD code = Fill(); code != ERROR_SUCCESS) return code;
    }
    current_.swap(ahead_);
    const size_t size = std::exchange(aheadSize_, 0);
    if (size == current_.size()) {
        if (const DWORD code = Fill(); code != ERROR_SUCCESS) return code;
    }
    chunk = {std::span(current_).first(size), offset_, aheadSize_ == 0};
    offset_ += size;
    return ERROR_SUCCESS;
}

}  // namespace talvo
