// A file's users leave marks far behind any data: advisory locks on single bytes that belong to the open file, so that
// closing it, in whatever way, removes them. There is a range of bytes for each right that is used and for each that is
// denied; who opens a file leaves its marks first and then looks for marks that contradict them. Two that come at the
// same moment may both see each other and step back; they try again a few times.
#include "platform/file_sharing.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace platform {
namespace {

constexpr off_t kRangeSize = off_t{1} << 20;
constexpr off_t kBase = off_t{1} << 62;
constexpr int kAttempts = 4;
constexpr int kSlots = 64;

enum Range { kReads, kWrites, kDeniesRead, kDeniesWrite, kDeniesDelete };

struct Rule {
    DWORD access;
    DWORD share;
    Range uses;
    Range denies;
};
constexpr Rule kRules[] = {
    {GENERIC_READ, FILE_SHARE_READ, kReads, kDeniesRead},
    {GENERIC_WRITE, FILE_SHARE_WRITE, kWrites, kDeniesWrite},
};

struct flock LockOf(int type, off_t start, off_t length) {
    struct flock lock = {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return lock;
}

// A file open for writing only can hold exclusive locks only, so everyone takes a byte of their own.
bool Mark(int file, DWORD access, Range range) {
    static std::atomic<unsigned> next = static_cast<unsigned>(getpid()) * 2654435761u;
    for (int i = 0; i < kSlots; ++i) {
        const off_t slot = next.fetch_add(1, std::memory_order_relaxed) % kRangeSize;
        struct flock lock = LockOf(access & GENERIC_READ ? F_RDLCK : F_WRLCK, kBase + range * kRangeSize + slot, 1);
        if (fcntl(file, F_OFD_SETLK, &lock) == 0) return true;
        if (errno != EAGAIN && errno != EACCES) return true;  // no locks here
    }
    return false;
}

bool IsMarked(int file, Range range) {
    struct flock lock = LockOf(F_WRLCK, kBase + range * kRangeSize, kRangeSize);
    return fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

void RemoveMarks(int file) {
    struct flock lock = LockOf(F_UNLCK, kBase, 0);
    fcntl(file, F_OFD_SETLK, &lock);
}

bool LeaveMarks(int file, DWORD access, DWORD share) {
    for (const Rule& rule : kRules) {
        if ((access & rule.access) && !Mark(file, access, rule.uses)) return false;
        if (!(share & rule.share) && !Mark(file, access, rule.denies)) return false;
    }
    return (share & FILE_SHARE_DELETE) || Mark(file, access, kDeniesDelete);
}

bool IsContradicted(int file, DWORD access, DWORD share) {
    for (const Rule& rule : kRules) {
        if ((access & rule.access) && IsMarked(file, rule.denies)) return true;
        if (!(share & rule.share) && IsMarked(file, rule.uses)) return true;
    }
    return false;
}

void Pause(int attempt) {
    const unsigned jitter = static_cast<unsigned>(getpid()) * 37 + static_cast<unsigned>(attempt) * 101;
    const timespec time = {0, 50000L * (1 + static_cast<long>(jitter % 8))};
    nanosleep(&time, nullptr);
}

}  // namespace

bool ClaimSharing(int file, DWORD access, DWORD share) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (attempt != 0) Pause(attempt);
        if (LeaveMarks(file, access, share) && !IsContradicted(file, access, share)) return true;
        RemoveMarks(file);
    }
    return false;
}

bool IsDeletionDenied(const char* path) {
    struct stat info;
    if (lstat(path, &info) != 0 || !S_ISREG(info.st_mode)) return false;
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (file < 0) return false;  // not readable for us: the file system will say what else speaks against it
    const bool denied = IsMarked(file, kDeniesDelete);
    close(file);
    return denied;
}

}  // namespace platform
