// See file_faults.h. Opening, sizes, positions and transfers count; closing cannot fail.
#include "tests/support/native/file_faults.h"

#include <dlfcn.h>

#include <utility>

namespace talvo::test {
namespace {

struct {
    unsigned left = 0;
    DWORD error = 0;
    bool transfers = false;
    const char* failed = "";
} g_fault;

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool Fails(const char* name) {
    if (g_fault.left == 0 || --g_fault.left != 0) return false;
    g_fault.failed = name;
    SetLastError(g_fault.error);
    return true;
}

// `transfer` moves that many bytes.
template <class Transfer>
BOOL FailTransfer(DWORD size, LPDWORD done, Transfer transfer) {
    *done = 0;
    if (!g_fault.transfers) return FALSE;
    transfer(size / 2);
    SetLastError(g_fault.error);
    return g_fault.error == ERROR_SUCCESS;
}

}  // namespace

unsigned FailFileCall(unsigned n, DWORD error, bool transfers) {
    return std::exchange(g_fault, {n, error, transfers, ""}).left;
}

const char* FailedFileCall() { return g_fault.failed; }

}  // namespace talvo::test

using talvo::test::Fails;
using talvo::test::FailTransfer;
using talvo::test::Next;

HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                   DWORD flags, HANDLE pattern) {
    static const auto next = Next<decltype(CreateFileA)>("CreateFileA");
    if (Fails("CreateFileA")) return INVALID_HANDLE_VALUE;
    return next(name, access, share, security, disposition, flags, pattern);
}

BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) {
    static const auto next = Next<decltype(GetFileSizeEx)>("GetFileSizeEx");
    return Fails("GetFileSizeEx") ? FALSE : next(file, size);
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
    static const auto next = Next<decltype(SetFilePointerEx)>("SetFilePointerEx");
    return Fails("SetFilePointerEx") ? FALSE : next(file, distance, position, method);
}

BOOL ReadFile(HANDLE file, LPVOID bytes, DWORD size, LPDWORD done, LPOVERLAPPED overlapped) {
    static const auto next = Next<decltype(ReadFile)>("ReadFile");
    if (!Fails("ReadFile")) return next(file, bytes, size, done, overlapped);
    return FailTransfer(size, done, [&](DWORD part) { next(file, bytes, part, done, overlapped); });
}

BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD done, LPOVERLAPPED overlapped) {
    static const auto next = Next<decltype(WriteFile)>("WriteFile");
    if (!Fails("WriteFile")) return next(file, bytes, size, done, overlapped);
    return FailTransfer(size, done, [&](DWORD part) { next(file, bytes, part, done, overlapped); });
}
