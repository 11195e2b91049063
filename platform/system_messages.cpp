// Texts for the codes that our headers declare, in the words that Windows uses for them.
#include "platform/system_messages.h"

#include <winerror.h>

namespace {

struct Row {
    HRESULT id;
    const char* text;
};

constexpr Row kErrors[] = {
    {ERROR_SUCCESS, "The operation completed successfully."},
    {ERROR_INVALID_FUNCTION, "Incorrect function."},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, "The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, "The system cannot open the file."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {ERROR_INVALID_HANDLE, "The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory resources are available to process this command."},
    {ERROR_BAD_FORMAT, "An attempt was made to load a program with an incorrect format."},
    {ERROR_INVALID_DATA, "The data is invalid."},
    {ERROR_OUTOFMEMORY, "Not enough memory resources are available to complete this operation."},
    {ERROR_INVALID_DRIVE, "The system cannot find the drive specified."},
    {ERROR_NOT_SAME_DEVICE, "The system cannot move the file to a different disk drive."},
    {ERROR_NO_MORE_FILES, "There are no more files."},
    {ERROR_WRITE_PROTECT, "The media is write protected."},
    {ERROR_BAD_UNIT, "The system cannot find the device specified."},
    {ERROR_NOT_READY, "The device is not ready."},
    {ERROR_CRC, "Data error (cyclic redundancy check)."},
    {ERROR_SEEK, "The drive cannot locate a specific area or track on the disk."},
    {ERROR_SECTOR_NOT_FOUND, "The drive cannot find the sector requested."},
    {ERROR_WRITE_FAULT, "The system cannot write to the specified device."},
    {ERROR_READ_FAULT, "The system cannot read from the specified device."},
    {ERROR_GEN_FAILURE, "A device attached to the system is not functioning."},
    {ERROR_SHARING_VIOLATION, "The process cannot access the file because it is being used by another process."},
    {ERROR_LOCK_VIOLATION,
     "The process cannot access the file because another process has locked a portion of the file."},
    {ERROR_HANDLE_EOF, "Reached the end of the file."},
    {ERROR_HANDLE_DISK_FULL, "The disk is full."},
    {ERROR_NOT_SUPPORTED, "The request is not supported."},
    {ERROR_BAD_NETPATH, "The network path was not found."},
    {ERROR_DEV_NOT_EXIST, "The specified network resource or device is no longer available."},
    {ERROR_NETWORK_ACCESS_DENIED, "Network access is denied."},
    {ERROR_FILE_EXISTS, "The file exists."},
    {ERROR_CANNOT_MAKE, "The directory or file cannot be created."},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect."},
    {ERROR_NET_WRITE_FAULT, "A write fault occurred on the network."},
    {ERROR_DRIVE_LOCKED, "The disk is in use or locked by another process."},
    {ERROR_BROKEN_PIPE, "The pipe has been ended."},
    {ERROR_OPEN_FAILED, "The system cannot open the device or file specified."},
    {ERROR_BUFFER_OVERFLOW, "The file name is too long."},
    {ERROR_DISK_FULL, "There is not enough space on the disk."},
    {ERROR_CALL_NOT_IMPLEMENTED, "This function is not supported on this system."},
    {ERROR_INSUFFICIENT_BUFFER, "The data area passed to a system call is too small."},
    {ERROR_INVALID_NAME, "The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_MOD_NOT_FOUND, "The specified module could not be found."},
    {ERROR_PROC_NOT_FOUND, "The specified procedure could not be found."},
    {ERROR_NEGATIVE_SEEK, "An attempt was made to move the file pointer before the beginning of the file."},
    {ERROR_SEEK_ON_DEVICE, "The file pointer cannot be set on the specified device or file."},
    {ERROR_DIR_NOT_EMPTY, "The directory is not empty."},
    {ERROR_PATH_BUSY, "The path specified cannot be used at this time."},
    {ERROR_BUSY, "The requested resource is in use."},
    {ERROR_ALREADY_EXISTS, "Cannot create a file when that file already exists."},
    {ERROR_BAD_EXE_FORMAT, "%1 is not a valid Win32 application."},
    {ERROR_ENVVAR_NOT_FOUND, "The system could not find the environment option that was entered."},
    {ERROR_FILENAME_EXCED_RANGE, "The filename or extension is too long."},
    {ERROR_FILE_TOO_LARGE, "The file size exceeds the limit allowed and cannot be saved."},
    {ERROR_NO_DATA, "The pipe is being closed."},
    {ERROR_PIPE_NOT_CONNECTED, "No process is on the other end of the pipe."},
    {ERROR_MORE_DATA, "More data is available."},
    {ERROR_NO_MORE_ITEMS, "No more data is available."},
    {ERROR_DIRECTORY, "The directory name is invalid."},
    {ERROR_MR_MID_NOT_FOUND, "The system cannot find message text for message number 0x%1 in the message file for %2."},
    {ERROR_INVALID_ADDRESS, "Attempt to access invalid address."},
    {ERROR_INVALID_FLAGS, "Invalid flags."},
    {ERROR_BADDB, "The configuration registry database is corrupt."},
    {ERROR_BADKEY, "The configuration registry key is invalid."},
    {ERROR_CANTOPEN, "The configuration registry key could not be opened."},
    {ERROR_CANTREAD, "The configuration registry key could not be read."},
    {ERROR_CANTWRITE, "The configuration registry key could not be written."},
    {ERROR_KEY_DELETED, "Illegal operation attempted on a registry key that has been marked for deletion."},
    {ERROR_MEDIA_CHANGED, "The media in the drive may have changed."},
    {ERROR_NO_UNICODE_TRANSLATION, "No mapping for the Unicode character exists in the target multi-byte code page."},
    {ERROR_DLL_INIT_FAILED, "A dynamic link library (DLL) initialization routine failed."},
    {ERROR_IO_DEVICE, "The request could not be performed because of an I/O device error."},
    {ERROR_NOT_FOUND, "Element not found."},
    {ERROR_CANCELLED, "The operation was canceled by the user."},
    {ERROR_DISK_QUOTA_EXCEEDED, "The requested file operation failed because the storage quota was exceeded."},
    {ERROR_NO_SYSTEM_RESOURCES, "Insufficient system resources exist to complete the requested service."},
    {ERROR_UNSUPPORTED_TYPE, "Data of this type is not supported."},
    {ERROR_RESOURCE_DATA_NOT_FOUND, "The specified image file did not contain a resource section."},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, "The specified resource type cannot be found in the image file."},
    {ERROR_RESOURCE_NAME_NOT_FOUND, "The specified resource name cannot be found in the image file."},
    {ERROR_CANT_RESOLVE_FILENAME, "The name of the file cannot be resolved by the system."},
    {ERROR_FILE_READ_ONLY, "The specified file is read only."},
};

constexpr Row kResults[] = {
    {E_PENDING, "The data necessary to complete this operation is not yet available."},
    {E_NOTIMPL, "Not implemented"},
    {E_NOINTERFACE, "No such interface supported"},
    {E_POINTER, "Invalid pointer"},
    {E_ABORT, "Operation aborted"},
    {E_FAIL, "Unspecified error"},
    {E_UNEXPECTED, "Catastrophic failure"},
    {CLASS_E_NOAGGREGATION, "Class does not support aggregation (or class object is remote)"},
    {CLASS_E_CLASSNOTAVAILABLE, "ClassFactory cannot supply requested class"},
    {REGDB_E_READREGDB, "Could not read key from registry"},
    {REGDB_E_WRITEREGDB, "Could not write key to registry"},
    {REGDB_E_KEYMISSING, "Could not find the key in the registry"},
    {REGDB_E_INVALIDVALUE, "Invalid value for registry"},
    {REGDB_E_CLASSNOTREG, "Class not registered"},
    {REGDB_E_IIDNOTREG, "Interface not registered"},
    {CO_E_NOTINITIALIZED, "CoInitialize has not been called."},
    {CO_E_CLASSSTRING, "Invalid class string"},
    {CO_E_IIDSTRING, "Invalid interface string"},
    {CO_E_APPNOTFOUND, "Application not found"},
    {CO_E_DLLNOTFOUND, "DLL for class could not be found"},
    {CO_E_ERRORINDLL, "Error in the DLL"},
    {CO_E_OBJNOTREG, "Object is not registered"},
    {CO_E_OBJISREG, "Object is already registered"},
    {RPC_E_CHANGED_MODE, "Cannot change thread mode after it is set."},
    {DISP_E_UNKNOWNINTERFACE, "Unknown interface."},
    {DISP_E_MEMBERNOTFOUND, "Member not found."},
    {DISP_E_PARAMNOTFOUND, "Parameter not found."},
    {DISP_E_TYPEMISMATCH, "Type mismatch."},
    {DISP_E_UNKNOWNNAME, "Unknown name."},
    {DISP_E_NONAMEDARGS, "No named arguments."},
    {DISP_E_BADVARTYPE, "Bad variable type."},
    {DISP_E_EXCEPTION, "Exception occurred."},
    {DISP_E_OVERFLOW, "Out of present range."},
    {DISP_E_BADINDEX, "Invalid index."},
    {DISP_E_UNKNOWNLCID, "Unknown language."},
    {DISP_E_ARRAYISLOCKED, "Memory is locked."},
    {DISP_E_BADPARAMCOUNT, "Invalid number of parameters."},
    {DISP_E_PARAMNOTOPTIONAL, "Parameter not optional."},
    {DISP_E_BADCALLEE, "Invalid callee."},
    {DISP_E_BUFFERTOOSMALL, "Buffer too small."},
    {TYPE_E_INVDATAREAD, "Old format or invalid type library."},
    {TYPE_E_UNSUPFORMAT, "Old format or invalid type library."},
    {TYPE_E_REGISTRYACCESS, "Error accessing the OLE registry."},
    {TYPE_E_LIBNOTREGISTERED, "Library not registered."},
    {TYPE_E_UNDEFINEDTYPE, "Bound to unknown type."},
    {TYPE_E_WRONGTYPEKIND, "Wrong type kind."},
    {TYPE_E_ELEMENTNOTFOUND, "Element not found."},
    {TYPE_E_AMBIGUOUSNAME, "Ambiguous name."},
    {TYPE_E_UNKNOWNLCID, "Unknown LCID."},
    {TYPE_E_DLLFUNCTIONNOTFOUND, "Function not defined in specified DLL."},
    {TYPE_E_BADMODULEKIND, "Wrong module kind for the operation."},
    {TYPE_E_TYPEMISMATCH, "Type mismatch."},
    {TYPE_E_OUTOFBOUNDS, "Invalid number of arguments."},
    {TYPE_E_IOERROR, "I/O Error."},
    {TYPE_E_CANTLOADLIBRARY, "Error loading type library/DLL."},
    {STG_E_FILENOTFOUND, "%1 could not be found."},
    {STG_E_PATHNOTFOUND, "The path %1 could not be found."},
    {STG_E_ACCESSDENIED, "Access Denied."},
    {STG_E_MEDIUMFULL, "There is insufficient disk space to complete operation."},
};

template <size_t N>
const char* Find(const Row (&rows)[N], HRESULT id) {
    for (const Row& row : rows) {
        if (row.id == id) return row.text;
    }
    return nullptr;
}

}  // namespace

namespace platform {

// A result that wraps a Windows error has the error's text.
const char* SystemMessage(DWORD id) {
    const auto result = static_cast<HRESULT>(id);
    if (FAILED(result) && HRESULT_FACILITY(result) == FACILITY_WIN32) return Find(kErrors, HRESULT_CODE(result));
    return FAILED(result) ? Find(kResults, result) : Find(kErrors, result);
}

}  // namespace platform
