// A parsed file is kept as long as name, inode, size and times stay the same, as look-ups are
// frequent (every reported error asks for a ProgID) and changes are rare. A damaged file is reported and never replaced.
#include "platform/registry_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/last_error.h"
#include "platform/registry_text.h"

namespace platform {
namespace {

class File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    explicit operator bool() const { return descriptor_ >= 0; }
    int Get() const { return descriptor_; }

private:
    int descriptor_;
};

LONG ErrorOf(int error) { return static_cast<LONG>(WindowsError(error)); }

bool SameState(const struct stat& a, const struct stat& b) {
    const auto sameTime = [](const timespec& x, const timespec& y) {
        return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
    };
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size && sameTime(a.st_mtim, b.st_mtim) &&
           sameTime(a.st_ctim, b.st_ctim);
}

LONG ReadAll(int file, std::string& text) {
    char buffer[16384];
    for (;;) {
        const ssize_t got = read(file, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return ErrorOf(errno);
        if (got == 0) return ERROR_SUCCESS;
        text.append(buffer, static_cast<size_t>(got));
    }
}

bool WriteAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t put = write(file, text.data(), text.size());
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        text.remove_prefix(static_cast<size_t>(put));
    }
    return true;
}

void CreateFolders(const std::string& fileName) {
    for (size_t end = fileName.find('/', 1); end != std::string::npos; end = fileName.find('/', end + 1)) {
        mkdir(fileName.substr(0, end).c_str(), 0777);  // what fails here shows when the file is opened
    }
}

// A link to the real file stays a link: the file it leads to is the one replaced.
std::string Resolved(const std::string& name) {
    char real[PATH_MAX];
    return realpath(name.c_str(), real) ? real : name;
}

const char* Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value && *value ? value : nullptr;
}

}  // namespace

std::string RegistryFileName() {
    if (const char* const file = Variable("TALVO_REGISTRY")) return file;
    if (const char* const data = Variable("XDG_DATA_HOME")) return std::string(data) + "/talvo/registry.reg";
    if (const char* const home = Variable("HOME")) return std::string(home) + "/.local/share/talvo/registry.reg";
    return {};
}

RegistryStore& RegistryStore::Instance() {
    static RegistryStore* const store = new RegistryStore;  // stays: modules use it until the process ends
    return *store;
}

LONG RegistryStore::Refresh() {
    std::string name = RegistryFileName();
    if (name.empty()) return ERROR_PATH_NOT_FOUND;
    struct stat state {};
    if (tree_ && name == name_ && stat(name.c_str(), &state) == 0 && SameState(state, state_)) return ERROR_SUCCESS;

    tree_.reset();
    std::string text;
    state_ = {};
    if (const File file(open(name.c_str(), O_RDONLY | O_CLOEXEC)); file) {
        if (fstat(file.Get(), &state_) != 0) return ErrorOf(errno);
        if (const LONG code = ReadAll(file.Get(), text); code != ERROR_SUCCESS) return code;
    } else if (errno != ENOENT && errno != ENOTDIR) {
        return ErrorOf(errno);
    }
    RegistryTree tree;
    if (!ReadRegistryText(text, tree)) return ERROR_BADDB;
    tree_ = std::move(tree);
    name_ = std::move(name);
    return ERROR_SUCCESS;
}

LONG RegistryStore::Replace(std::optional<RegistryTree> tree) {
    const std::string text = WriteRegistryText(*tree);
    const std::string target = Resolved(name_);
    const std::string temporary = target + ".new";
    unlink(temporary.c_str());  // left by a writer that ended half-way: ours is the only turn
    const File file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return ErrorOf(errno);
    const bool keepsMode = state_.st_ino == 0 || fchmod(file.Get(), state_.st_mode & 07777) == 0;
    if (!keepsMode || !WriteAll(file.Get(), text) || fsync(file.Get()) != 0 ||
        rename(temporary.c_str(), target.c_str()) != 0) {
        const LONG code = ErrorOf(errno);
        unlink(temporary.c_str());
        return code;
    }
    if (stat(name_.c_str(), &state_) == 0) tree_ = std::move(tree);
    return ERROR_SUCCESS;
}

LONG RegistryStore::WriterTurn::Begin() {
    const std::string name = RegistryFileName();
    if (name.empty()) return ERROR_PATH_NOT_FOUND;
    const std::string lockName = Resolved(name) + ".lock";
    file_ = open(lockName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file_ < 0 && errno == ENOENT) {
        CreateFolders(name);
        file_ = open(lockName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    }
    if (file_ < 0) return ErrorOf(errno);
    while (flock(file_, LOCK_EX) != 0) {
        if (errno != EINTR) return ErrorOf(errno);
    }
    return ERROR_SUCCESS;
}

RegistryStore::WriterTurn::~WriterTurn() {
    if (file_ >= 0) close(file_);  // gives the lock back
}

}  // namespace platform
