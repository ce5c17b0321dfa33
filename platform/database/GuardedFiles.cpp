#include "platform/database/GuardedFiles.h"

#include "platform/basics/FileDescriptor.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>

namespace Tavrel
{

namespace
{

constexpr sqlite3_int64 MemoryLimit = sqlite3_int64{64} * 1024 * 1024;

sqlite3_vfs *original()
{
    static sqlite3_vfs *const vfs = sqlite3_vfs_find(nullptr);
    return vfs;
}

/// The journals, logs and indexes of all databases opened so far.
std::set<std::string> &ownJournals()
{
    static auto *const journals = new std::set<std::string>;
    return *journals;
}

/// Whether SQLite may use the file opened from `path`. A journal with a second name may be a file
/// of another user; folders are opened to be synced.
bool isFit(const char *path, const struct stat &status)
{
    if (ownJournals().contains(path))
        return S_ISREG(status.st_mode) && status.st_nlink <= 1;
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

/// Replaces open(2) in SQLite. O_NONBLOCK keeps a pipe from blocking. The file is checked after
/// opening, because until then others could still replace it with a pipe. SQLite itself passes
/// O_NOFOLLOW, which covers the last part of the path.
int openFit(const char *path, int flags, int mode)
{
    int descriptor = -1;
    int end = 0;
    const bool isOpen =
        std::sscanf(path, "/proc/self/fd/%d%n", &descriptor, &end) == 1 && path[end] == '\0';
    const int file =
        isOpen ? ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0) : ::open(path, flags | O_NONBLOCK, mode);
    struct stat status = {};
    if (file < 0 || (::fstat(file, &status) == 0 && isFit(path, status)))
        return file;
    ::close(file);
    errno = ENOTSUP;
    return -1;
}

int openFile(sqlite3_vfs *, sqlite3_filename path, sqlite3_file *file, int flags, int *actualFlags)
{
    if (flags & SQLITE_OPEN_MAIN_DB) {
        for (const char *ending : {"-journal", "-wal", "-shm"})
            ownJournals().insert(std::string(path) + ending);
    } else if (flags & SQLITE_OPEN_SUPER_JOURNAL) {
        path = nullptr; // an empty temporary file instead
        flags = SQLITE_OPEN_TEMP_JOURNAL | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE |
                SQLITE_OPEN_EXCLUSIVE | SQLITE_OPEN_DELETEONCLOSE;
    }
    return original()->xOpen(original(), path, file, flags, actualFlags);
}

/// Returns the path unchanged. SQLite itself would follow links, even those of other users.
int fullPath(sqlite3_vfs *, const char *path, int size, char *result)
{
    const std::size_t needed = std::strlen(path) + 1;
    if (needed > static_cast<std::size_t>(size))
        return SQLITE_CANTOPEN;
    std::memcpy(result, path, needed);
    return SQLITE_OK;
}

int deleteFile(sqlite3_vfs *, const char *path, int syncFolder)
{
    return ownJournals().contains(path) ? original()->xDelete(original(), path, syncFolder)
                                        : SQLITE_OK;
}

/// SQLite asks for its own journals and for super-journals. The latter are always reported to
/// exist: the true answer would reveal whether the named file does.
int accessFile(sqlite3_vfs *, const char *path, int flags, int *result)
{
    if (ownJournals().contains(path))
        return original()->xAccess(original(), path, flags, result);
    *result = 1;
    return SQLITE_OK;
}

} // namespace

QByteArray trustedPath(const QByteArray &path)
{
    constexpr int MostLinks = 8;
    std::string followed = path.toStdString();
    for (int i = 0; i < MostLinks; ++i) {
        const std::filesystem::path parts(followed);
        std::error_code error;
        const auto folder =
            std::filesystem::canonical(parts.has_parent_path() ? parts.parent_path() : ".", error);
        if (error)
            return path;
        followed = folder / parts.filename();

        // Through a descriptor, so that owner and target are those of the same link.
        const FileDescriptor link(::open(followed.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat status = {};
        std::array<char, PATH_MAX> target{};
        if (!link || ::fstat(link.get(), &status) != 0 || !S_ISLNK(status.st_mode) ||
            (status.st_uid != 0 && status.st_uid != ::geteuid()) ||
            ::readlinkat(link.get(), "", target.data(), target.size() - 1) < 0)
            break;
        followed = folder / target.data(); // the target alone, where that is absolute
    }
    return QByteArray::fromStdString(followed);
}

const char *guardedFiles()
{
    static constexpr char Name[] = "guarded";
    static sqlite3_vfs layer;
    if (!layer.zName) {
        original()->xSetSystemCall(original(), "open",
                                   reinterpret_cast<sqlite3_syscall_ptr>(openFit));
        sqlite3_hard_heap_limit64(MemoryLimit);
        layer = *original();
        layer.zName = Name;
        layer.xOpen = openFile;
        layer.xDelete = deleteFile;
        layer.xAccess = accessFile;
        layer.xFullPathname = fullPath;
        sqlite3_vfs_register(&layer, 0);
    }
    return Name;
}

} // namespace Tavrel
