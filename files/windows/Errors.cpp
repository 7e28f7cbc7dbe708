#include "files/windows/Errors.h"

#include <windows.h>

#include <cerrno>

namespace files {

namespace {

struct Row {
    unsigned long error;
    int number;
};
constexpr Row kRows[] = {
    {ERROR_FILE_NOT_FOUND, ENOENT},   {ERROR_PATH_NOT_FOUND, ENOENT},
    {ERROR_INVALID_NAME, ENOENT},     {ERROR_BAD_PATHNAME, ENOENT},
    {ERROR_BAD_NETPATH, ENOENT},      {ERROR_BAD_NET_NAME, ENOENT},
    {ERROR_ACCESS_DENIED, EACCES},    {ERROR_SHARING_VIOLATION, EACCES},
    {ERROR_LOCK_VIOLATION, EACCES},   {ERROR_FILE_EXISTS, EEXIST},
    {ERROR_ALREADY_EXISTS, EEXIST},   {ERROR_DISK_FULL, ENOSPC},
    {ERROR_HANDLE_DISK_FULL, ENOSPC}, {ERROR_NOT_ENOUGH_MEMORY, ENOMEM},
    {ERROR_OUTOFMEMORY, ENOMEM},      {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
    {ERROR_DIR_NOT_EMPTY, ENOTEMPTY}, {ERROR_DIRECTORY, ENOTDIR},
    {ERROR_WRITE_PROTECT, EROFS},     {ERROR_BROKEN_PIPE, EPIPE},
    {ERROR_NO_DATA, EPIPE},           {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG},
};

}  // namespace

int errnoOf(unsigned long error) {
    for (const Row& row : kRows) {
        if (row.error == error) return row.number;
    }
    return EIO;
}

void storeErrno() { errno = errnoOf(GetLastError()); }

}  // namespace files
