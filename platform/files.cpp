// File handles are descriptors of this system in the shape of handles; the system knows what each may do, so there is no
// table of them here. Names are file_path's concern, sharing is file_sharing's.
#include <windows.h>

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdint.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "platform/file_path.h"
#include "platform/file_sharing.h"
#include "platform/last_error.h"

namespace {

using platform::Fail;
using platform::FailWithErrno;
using platform::FilePath;

// Never null, and a multiple of four, as handles are.
HANDLE HandleOf(int file) { return reinterpret_cast<HANDLE>((static_cast<intptr_t>(file) + 1) * 4); }

// -1, which the system refuses as well, for what cannot be a file.
int FileOf(HANDLE handle) {
    const auto value = reinterpret_cast<intptr_t>(handle);
    return value > 0 && value % 4 == 0 && value / 4 <= INT_MAX ? static_cast<int>(value / 4 - 1) : -1;
}

// A transfer on a valid handle without the right to it is refused access, not a bad handle.
BOOL FailTransfer(int file) {
    const int error = errno;
    const bool valid = fcntl(file, F_GETFL) != -1;
    return Fail(error == EBADF && valid ? ERROR_ACCESS_DENIED : platform::WindowsError(error));
}

mode_t TypeOf(int file) {
    struct stat info;
    return fstat(file, &info) == 0 ? info.st_mode & S_IFMT : 0;
}

// What CreateFile was asked for.
struct Request {
    DWORD access;
    DWORD share;
    DWORD disposition;

    bool Creates() const {
        return disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
    }
    bool Empties() const { return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING; }
    int OpenFlags() const {
        const bool reads = access & GENERIC_READ;
        const bool writes = access & GENERIC_WRITE;
        return (reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY) | O_CLOEXEC | O_NOCTTY;
    }
};

// Opens or creates as asked, without touching what is in an existing file. `created` says which it was; where two create
// a file at the same moment, one of them finds it existing.
int OpenFile(const char* path, const Request& request, bool* created) {
    constexpr mode_t kMode = 0666;
    *created = request.disposition == CREATE_NEW;
    if (*created) return open(path, request.OpenFlags() | O_CREAT | O_EXCL, kMode);
    int file = open(path, request.OpenFlags());
    if (file >= 0 || errno != ENOENT || !request.Creates()) return file;
    file = open(path, request.OpenFlags() | O_CREAT | O_EXCL, kMode);
    if (file >= 0 || errno != EEXIST) return *created = true, file;
    return open(path, request.OpenFlags() | O_CREAT, kMode);
}

// The three lowest descriptors are the standard streams. Where one is closed, a file must not take its place.
int AboveStandardStreams(int file) {
    if (file < 0 || file > STDERR_FILENO) return file;
    const int moved = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(file);
    errno = error;
    return moved;
}

// A name that ends in a separator can only be a folder, and folders are not opened.
BOOL FailFolderName(const FilePath& path, const Request& request) {
    struct stat info;
    if (stat(path.Get(), &info) == 0) return Fail(S_ISDIR(info.st_mode) ? ERROR_ACCESS_DENIED : ERROR_INVALID_NAME);
    const DWORD missing = path.ErrorIfMissing();
    return Fail(request.Creates() && missing == ERROR_FILE_NOT_FOUND ? ERROR_INVALID_NAME : missing);
}

// The rest of opening, once the file is open: it must be no folder, be writable for someone if it was there before (the
// superuser's right to write does not count), be free, and be emptied if asked.
DWORD Admit(int file, const char* path, const Request& request, bool created) {
    struct stat info = {};
    if (fstat(file, &info) != 0) return platform::WindowsError(errno);
    if (S_ISDIR(info.st_mode)) return ERROR_ACCESS_DENIED;
    if (!S_ISREG(info.st_mode)) return ERROR_SUCCESS;
    const bool readOnly = !(info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH));
    if (readOnly && !created && (request.access & GENERIC_WRITE)) return ERROR_ACCESS_DENIED;
    if (!platform::ClaimSharing(file, request.access, request.share)) return ERROR_SHARING_VIOLATION;
    if (!request.Empties()) return ERROR_SUCCESS;
    const bool emptied = request.access & GENERIC_WRITE ? ftruncate(file, 0) == 0 : truncate(path, 0) == 0;
    return emptied ? ERROR_SUCCESS : platform::WindowsError(errno);
}

HANDLE Create(const FilePath& path, const Request& request) {
    if (!path) return INVALID_HANDLE_VALUE;
    if (path.NamesFolder()) return FailFolderName(path, request), INVALID_HANDLE_VALUE;
    bool created = false;
    const int file = AboveStandardStreams(OpenFile(path.Get(), request, &created));
    if (file < 0) return path.Fail(), INVALID_HANDLE_VALUE;
    if (const DWORD error = Admit(file, path.Get(), request, created); error != ERROR_SUCCESS) {
        close(file);
        return Fail(error), INVALID_HANDLE_VALUE;
    }
    const bool tells = request.disposition == CREATE_ALWAYS || request.disposition == OPEN_ALWAYS;
    SetLastError(tells && !created ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return HandleOf(file);
}

// Keeps the signal of a broken pipe from the process for the length of one write: the caller gets an error instead.
class PipeSignalBlock {
public:
    explicit PipeSignalBlock(int file) {
        const mode_t type = TypeOf(file);
        active_ = type == S_IFIFO || type == S_IFSOCK;
        if (!active_) return;
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        active_ = !sigismember(&pending, SIGPIPE);
        if (active_) pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    ~PipeSignalBlock() {
        if (!active_) return;
        const int error = errno;
        const timespec now = {};
        sigtimedwait(&signal_, nullptr, &now);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }
    PipeSignalBlock(const PipeSignalBlock&) = delete;
    PipeSignalBlock& operator=(const PipeSignalBlock&) = delete;

private:
    bool active_;
    sigset_t signal_;
    sigset_t before_;
};

// The position after the move, or -1 with the last error set.
LONGLONG Seek(int file, LONGLONG distance, DWORD method) {
    constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (method > FILE_END) return Fail(ERROR_INVALID_PARAMETER), -1;
    const off_t position = lseek(file, distance, kWhence[method]);
    if (position < 0 && errno == EINVAL) return Fail(ERROR_NEGATIVE_SEEK), -1;
    return position < 0 ? (FailWithErrno(), -1) : position;
}

}  // namespace

HANDLE CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition, DWORD, HANDLE) {
    if (lpSecurityAttributes) return Fail(ERROR_INVALID_PARAMETER), INVALID_HANDLE_VALUE;
    const DWORD access = dwDesiredAccess, disposition = dwCreationDisposition;
    const Request request = {access, dwShareMode, disposition};
    const bool known = disposition >= CREATE_NEW && disposition <= TRUNCATE_EXISTING;
    const bool needsWrite = disposition == TRUNCATE_EXISTING;
    if (!known || !(access & (GENERIC_READ | GENERIC_WRITE)) || (access & ~(GENERIC_READ | GENERIC_WRITE)) ||
        (needsWrite && !(access & GENERIC_WRITE))) {
        return Fail(ERROR_INVALID_PARAMETER), INVALID_HANDLE_VALUE;
    }
    return Create(FilePath(lpFileName), request);
}

// A file is read until the request is full or the file ends; a pipe or a terminal gives what it has. The end of a pipe is
// an error, the end of a file is a success with fewer bytes.
BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
              LPOVERLAPPED lpOverlapped) {
    if (lpNumberOfBytesRead) *lpNumberOfBytesRead = 0;
    if (lpOverlapped) return Fail(ERROR_INVALID_PARAMETER);
    const int file = FileOf(hFile);
    DWORD done = 0;
    while (true) {
        const ssize_t count = read(file, static_cast<BYTE*>(lpBuffer) + done, nNumberOfBytesToRead - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return FailTransfer(file);
        done += static_cast<DWORD>(count);
        if (lpNumberOfBytesRead) *lpNumberOfBytesRead = done;
        if (done == nNumberOfBytesToRead) return TRUE;
        const mode_t type = TypeOf(file);
        if (count == 0) return type == S_IFIFO ? Fail(ERROR_BROKEN_PIPE) : TRUE;
        if (type != S_IFREG) return TRUE;
    }
}

BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED lpOverlapped) {
    if (lpNumberOfBytesWritten) *lpNumberOfBytesWritten = 0;
    if (lpOverlapped) return Fail(ERROR_INVALID_PARAMETER);
    const int file = FileOf(hFile);
    const PipeSignalBlock block(file);
    DWORD done = 0;
    do {
        const ssize_t count = write(file, static_cast<const BYTE*>(lpBuffer) + done, nNumberOfBytesToWrite - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return FailTransfer(file);
        done += static_cast<DWORD>(count);
        if (lpNumberOfBytesWritten) *lpNumberOfBytesWritten = done;
    } while (done < nNumberOfBytesToWrite);
    return TRUE;
}

BOOL SetFilePointerEx(HANDLE hFile, LARGE_INTEGER liDistanceToMove, PLARGE_INTEGER lpNewFilePointer,
                      DWORD dwMoveMethod) {
    const LONGLONG position = Seek(FileOf(hFile), liDistanceToMove.QuadPart, dwMoveMethod);
    if (position < 0) return FALSE;
    if (lpNewFilePointer) lpNewFilePointer->QuadPart = position;
    return TRUE;
}

BOOL SetEndOfFile(HANDLE hFile) {
    const int file = FileOf(hFile);
    const off_t position = lseek(file, 0, SEEK_CUR);
    if (position < 0) return FailWithErrno();
    if (ftruncate(file, position) == 0) return TRUE;
    return errno == EINVAL ? Fail(ERROR_ACCESS_DENIED) : FailWithErrno();  // not open for writing
}

BOOL GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize) {
    struct stat info;
    if (fstat(FileOf(hFile), &info) != 0) return FailWithErrno();
    if (!S_ISREG(info.st_mode)) return Fail(ERROR_INVALID_FUNCTION);
    lpFileSize->QuadPart = info.st_size;
    return TRUE;
}

// Volume and index tell files apart; times stay zero.
BOOL GetFileInformationByHandle(HANDLE hFile, LPBY_HANDLE_FILE_INFORMATION lpFileInformation) {
    struct stat info;
    if (fstat(FileOf(hFile), &info) != 0) return FailWithErrno();
    if (!S_ISREG(info.st_mode)) return Fail(ERROR_INVALID_FUNCTION);
    constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    const auto size = static_cast<ULONGLONG>(info.st_size);
    const auto index = static_cast<ULONGLONG>(info.st_ino);
    const auto volume = static_cast<ULONGLONG>(info.st_dev);
    *lpFileInformation = {};
    lpFileInformation->dwFileAttributes = info.st_mode & kAnyWrite ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
    lpFileInformation->dwVolumeSerialNumber = static_cast<DWORD>(volume ^ volume >> 32);
    lpFileInformation->nFileSizeHigh = static_cast<DWORD>(size >> 32);
    lpFileInformation->nFileSizeLow = static_cast<DWORD>(size);
    lpFileInformation->nNumberOfLinks = static_cast<DWORD>(info.st_nlink);
    lpFileInformation->nFileIndexHigh = static_cast<DWORD>(index >> 32);
    lpFileInformation->nFileIndexLow = static_cast<DWORD>(index);
    return TRUE;
}

// The invalid value is also the handle of the process itself, which may be closed any time.
BOOL CloseHandle(HANDLE hObject) {
    if (hObject == INVALID_HANDLE_VALUE) return TRUE;
    return close(FileOf(hObject)) == 0 || errno == EINTR ? TRUE : FailWithErrno();
}

HANDLE GetStdHandle(DWORD nStdHandle) {
    const DWORD file = STD_INPUT_HANDLE - nStdHandle;
    if (file > 2) return Fail(ERROR_INVALID_HANDLE), INVALID_HANDLE_VALUE;
    return fcntl(static_cast<int>(file), F_GETFD) != -1 ? HandleOf(static_cast<int>(file)) : nullptr;
}

DWORD GetFileType(HANDLE hFile) {
    struct stat info;
    if (fstat(FileOf(hFile), &info) != 0) return FailWithErrno(), FILE_TYPE_UNKNOWN;
    SetLastError(NO_ERROR);
    if (S_ISCHR(info.st_mode)) return FILE_TYPE_CHAR;
    return S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode) ? FILE_TYPE_PIPE : FILE_TYPE_DISK;
}

// Succeeds for terminals only; the mode is the usual one of a console that edits lines and echoes.
BOOL GetConsoleMode(HANDLE hConsoleHandle, LPDWORD lpMode) {
    if (!isatty(FileOf(hConsoleHandle))) return Fail(ERROR_INVALID_HANDLE);
    *lpMode = 7;
    return TRUE;
}
