// The functions through which the library and SQLite touch files, in place of the C library's. They call the
// system themselves. `endurance/run shim` compares what passes here with what the system sees.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "endurance/shim/Shim.h"

namespace {

using endurance::Kind;
using endurance::pathOf;
using endurance::Shim;
using endurance::Turn;

Shim& shim() {
  return Shim::instance();
}

template <class... Arguments>
auto call(long number, Arguments... arguments) {
  return ::syscall(number, arguments...);
}

/// For operations that leave no trace on the disk.
constexpr auto unnoted = [](std::uint32_t, auto) {};

struct stat statusOf(int descriptor) {
  struct stat status {};
  call(SYS_fstat, descriptor, &status);
  return status;
}

bool isThere(int folder, const char* path) {
  return call(SYS_faccessat, folder, path, F_OK) == 0;
}

/// A path as the journal names it, from the root.
std::string wholePath(int folder, const char* path) {
  return *path == '/' || folder == AT_FDCWD ? std::string(path) : pathOf(folder) + "/" + path;
}

std::string twoPaths(const std::string& from, const std::string& to) {
  return from + '\0' + to;
}

int openAt(int folder, const char* path, int flags, mode_t mode) {
  const auto open = [&] { return static_cast<int>(call(SYS_openat, folder, path, flags, mode)); };
  if (!shim().concerns(folder, path)) return open();
  const bool mayCreate = (flags & O_CREAT) != 0;
  bool isNew = false;
  const auto operation = [&](const Turn&) {
    isNew = mayCreate && !isThere(folder, path);
    return open();
  };
  const auto note = [&](std::uint32_t number, int descriptor) {
    const auto file = statusOf(descriptor).st_ino;
    if (isNew)
      shim().write(Kind::create, number, file, 0, wholePath(folder, path), {});
    else if ((flags & O_TRUNC) != 0)
      shim().write(Kind::truncate, number, file, 0, {}, {});
  };
  const int descriptor = shim().run(mayCreate ? Kind::create : Kind::open, operation, note);
  shim().watch(descriptor);
  return descriptor;
}

mode_t modeOf(int flags, va_list& arguments) {
  const bool hasMode = (flags & (O_CREAT | O_TMPFILE)) != 0;
  return hasMode ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

/// The offset tells where to, none: where the descriptor stands.
ssize_t writeParts(int descriptor, const iovec* parts, int count, const off_t* offset) {
  const auto write = [&](const iovec* some, int number) {
    return offset ? call(SYS_pwritev, descriptor, some, number, *offset, 0)
                  : call(SYS_writev, descriptor, some, number);
  };
  const auto operation = [&](const Turn& turn) {
    const iovec half{parts[0].iov_base, parts[0].iov_len / 2};
    return turn.isShort ? write(&half, 1) : write(parts, count);
  };
  const auto note = [&](std::uint32_t number, ssize_t size) {
    const auto written = static_cast<std::size_t>(size);
    const off_t end = offset ? *offset + size : call(SYS_lseek, descriptor, 0L, SEEK_CUR);
    std::string data;
    for (int part = 0; part < count; ++part)
      data.append(static_cast<const char*>(parts[part].iov_base), parts[part].iov_len);
    shim().write(Kind::write, number, statusOf(descriptor).st_ino, static_cast<std::uint64_t>(end - size), {},
                 std::string_view(data).substr(0, written));
  };
  return shim().run(Kind::write, operation, note);
}

int sync(int descriptor, long number) {
  const auto operation = [&](const Turn&) { return static_cast<int>(call(number, descriptor)); };
  if (!shim().concerns(descriptor)) return operation({});
  const struct stat status = statusOf(descriptor);
  const Kind kind = S_ISDIR(status.st_mode) ? Kind::syncFolder : Kind::sync;
  return shim().run(kind, operation, [&](std::uint32_t turn, int) {
    shim().write(kind, turn, status.st_ino, 0, kind == Kind::syncFolder ? pathOf(descriptor) : "", {});
  });
}

int renameAt(int oldFolder, const char* from, int newFolder, const char* to, unsigned flags) {
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_renameat2, oldFolder, from, newFolder, to, flags));
  };
  if (!shim().concerns(oldFolder, from) && !shim().concerns(newFolder, to)) return operation({});
  return shim().run(Kind::rename, operation, [&](std::uint32_t number, int) {
    shim().write(Kind::rename, number, 0, 0, twoPaths(wholePath(oldFolder, from), wholePath(newFolder, to)),
                 {});
  });
}

/// One path, and nothing more to tell of it.
template <class Operation>
int change(Kind kind, int folder, const char* path, const Operation& operation) {
  if (!shim().concerns(folder, path)) return operation({});
  return shim().run(kind, operation, [&](std::uint32_t number, int) {
    shim().write(kind, number, 0, 0, wholePath(folder, path), {});
  });
}

int unlinkAt(int folder, const char* path, int flags) {
  const Kind kind = (flags & AT_REMOVEDIR) != 0 ? Kind::removeFolder : Kind::unlink;
  return change(kind, folder, path,
                [&](const Turn&) { return static_cast<int>(call(SYS_unlinkat, folder, path, flags)); });
}

int statusAt(int folder, const char* path, struct stat* status, int flags) {
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_newfstatat, folder, path, status, flags));
  };
  const bool isOfDescriptor = *path == '\0' && (flags & AT_EMPTY_PATH) != 0;
  if (isOfDescriptor ? !shim().concerns(folder) : !shim().concerns(folder, path)) return operation({});
  return shim().run(Kind::query, operation, unnoted);
}

int resize(int descriptor, off_t size) {
  const auto operation = [&](const Turn&) { return static_cast<int>(call(SYS_ftruncate, descriptor, size)); };
  if (!shim().concerns(descriptor)) return operation({});
  return shim().run(Kind::truncate, operation, [&](std::uint32_t number, int) {
    shim().write(Kind::truncate, number, statusOf(descriptor).st_ino, static_cast<std::uint64_t>(size), {},
                 {});
  });
}

/// What has no way into the journal must not happen unseen.
[[noreturn]] void refuse(const char* what) {
  std::fprintf(stderr, "endurance: %s passes the shim\n", what);
  std::abort();
}

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return openAt(AT_FDCWD, path, flags, mode);
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));
int __open_2(const char* path, int flags) {
  return openAt(AT_FDCWD, path, flags, 0);
}
int __open64_2(const char* path, int flags) {
  return openAt(AT_FDCWD, path, flags, 0);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return openAt(folder, path, flags, mode);
}
int openat64(int folder, const char* path, int flags, ...) __attribute__((alias("openat")));
int __openat_2(int folder, const char* path, int flags) {
  return openAt(folder, path, flags, 0);
}
int __openat64_2(int folder, const char* path, int flags) {
  return openAt(folder, path, flags, 0);
}

int creat(const char* path, mode_t mode) {
  return openAt(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}
int creat64(const char* path, mode_t mode) {
  return creat(path, mode);
}

/// The C library's own one would open the file unseen.
int mkostemp(char* pattern, int flags) {
  static std::atomic<unsigned> counter = 0;
  const std::string start(pattern, std::strlen(pattern) - 6);
  for (;;) {
    std::snprintf(pattern + start.size(), 7, "%06x",
                  (static_cast<unsigned>(::getpid()) * 4096 + counter++) & 0xFFFFFFU);
    const int descriptor = openAt(AT_FDCWD, pattern, flags | O_RDWR | O_CREAT | O_EXCL, 0600);
    if (descriptor >= 0 || errno != EEXIST) return descriptor;
  }
}
int mkostemp64(char* pattern, int flags) {
  return mkostemp(pattern, flags);
}
int mkstemp(char* pattern) {
  return mkostemp(pattern, 0);
}
int mkstemp64(char* pattern) {
  return mkostemp(pattern, 0);
}

int close(int descriptor) {
  const auto operation = [&](const Turn&) { return static_cast<int>(call(SYS_close, descriptor)); };
  if (!shim().concerns(descriptor)) return operation({});
  // Before it is closed: another thread may be given the number at once.
  shim().forget(descriptor);
  return shim().run(Kind::close, operation, unnoted);
}

ssize_t read(int descriptor, void* buffer, size_t size) {
  const auto operation = [&](const Turn&) { return call(SYS_read, descriptor, buffer, size); };
  return shim().concerns(descriptor) ? shim().run(Kind::read, operation, unnoted) : operation({});
}
ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset) {
  const auto operation = [&](const Turn&) { return call(SYS_pread64, descriptor, buffer, size, offset); };
  return shim().concerns(descriptor) ? shim().run(Kind::read, operation, unnoted) : operation({});
}
ssize_t pread64(int descriptor, void* buffer, size_t size, off_t offset) {
  return pread(descriptor, buffer, size, offset);
}
ssize_t __read_chk(int descriptor, void* buffer, size_t size, size_t) {
  return read(descriptor, buffer, size);
}
ssize_t __pread_chk(int descriptor, void* buffer, size_t size, off_t offset, size_t) {
  return pread(descriptor, buffer, size, offset);
}
ssize_t __pread64_chk(int descriptor, void* buffer, size_t size, off_t offset, size_t) {
  return pread(descriptor, buffer, size, offset);
}
ssize_t readv(int descriptor, const iovec* parts, int count) {
  const auto operation = [&](const Turn&) { return call(SYS_readv, descriptor, parts, count); };
  return shim().concerns(descriptor) ? shim().run(Kind::read, operation, unnoted) : operation({});
}

ssize_t write(int descriptor, const void* data, size_t size) {
  const iovec part{const_cast<void*>(data), size};
  if (shim().concerns(descriptor)) return writeParts(descriptor, &part, 1, nullptr);
  const bool isLine = descriptor == STDOUT_FILENO || descriptor == STDERR_FILENO;
  if (isLine && shim().hasJournal()) shim().writeLine({static_cast<const char*>(data), size});
  return call(SYS_write, descriptor, data, size);
}
ssize_t pwrite(int descriptor, const void* data, size_t size, off_t offset) {
  const iovec part{const_cast<void*>(data), size};
  if (shim().concerns(descriptor)) return writeParts(descriptor, &part, 1, &offset);
  return call(SYS_pwrite64, descriptor, data, size, offset);
}
ssize_t pwrite64(int descriptor, const void* data, size_t size, off_t offset) {
  return pwrite(descriptor, data, size, offset);
}
ssize_t writev(int descriptor, const iovec* parts, int count) {
  if (shim().concerns(descriptor)) return writeParts(descriptor, parts, count, nullptr);
  return call(SYS_writev, descriptor, parts, count);
}
ssize_t pwritev(int descriptor, const iovec* parts, int count, off_t offset) {
  if (shim().concerns(descriptor)) return writeParts(descriptor, parts, count, &offset);
  return call(SYS_pwritev, descriptor, parts, count, offset, 0);
}
ssize_t pwritev64(int descriptor, const iovec* parts, int count, off_t offset) {
  return pwritev(descriptor, parts, count, offset);
}

/// What leaves the process after this line was known before it.
int connect(int descriptor, const struct sockaddr* address, socklen_t size) {
  if (shim().hasJournal() && address->sa_family == AF_INET) shim().writeLine("connect\n");
  return static_cast<int>(call(SYS_connect, descriptor, address, size));
}

int fsync(int descriptor) {
  return sync(descriptor, SYS_fsync);
}
int fdatasync(int descriptor) {
  return sync(descriptor, SYS_fdatasync);
}
int sync_file_range(int descriptor, off_t offset, off_t size, unsigned flags) {
  // It promises nothing after a power cut, so the journal has nothing of it.
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_sync_file_range, descriptor, offset, size, flags));
  };
  return shim().concerns(descriptor) ? shim().run(Kind::query, operation, unnoted) : operation({});
}

int ftruncate(int descriptor, off_t size) noexcept {
  return resize(descriptor, size);
}
int ftruncate64(int descriptor, off_t size) noexcept {
  return resize(descriptor, size);
}
int truncate(const char* path, off_t size) noexcept {
  if (shim().concerns(AT_FDCWD, path)) refuse("truncate");
  return static_cast<int>(call(SYS_truncate, path, size));
}
int truncate64(const char* path, off_t size) noexcept {
  return truncate(path, size);
}
int fallocate(int descriptor, int mode, off_t offset, off_t size) {
  if (shim().concerns(descriptor)) refuse("fallocate");
  return static_cast<int>(call(SYS_fallocate, descriptor, mode, offset, size));
}
int fallocate64(int descriptor, int mode, off_t offset, off_t size) {
  return fallocate(descriptor, mode, offset, size);
}
int posix_fallocate(int descriptor, off_t offset, off_t size) {
  return fallocate(descriptor, 0, offset, size) == 0 ? 0 : errno;
}
int posix_fallocate64(int descriptor, off_t offset, off_t size) {
  return posix_fallocate(descriptor, offset, size);
}

int rename(const char* from, const char* to) noexcept {
  return renameAt(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int renameat(int oldFolder, const char* from, int newFolder, const char* to) noexcept {
  return renameAt(oldFolder, from, newFolder, to, 0);
}
int renameat2(int oldFolder, const char* from, int newFolder, const char* to, unsigned flags) noexcept {
  return renameAt(oldFolder, from, newFolder, to, flags);
}
int linkat(int oldFolder, const char* from, int newFolder, const char* to, int flags) noexcept {
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_linkat, oldFolder, from, newFolder, to, flags));
  };
  if (!shim().concerns(newFolder, to)) return operation({});
  return shim().run(Kind::link, operation, [&](std::uint32_t number, int) {
    shim().write(Kind::link, number, 0, 0, twoPaths(wholePath(oldFolder, from), wholePath(newFolder, to)),
                 {});
  });
}
int link(const char* from, const char* to) noexcept {
  return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int symlink(const char* target, const char* path) noexcept {
  if (shim().concerns(AT_FDCWD, path)) refuse("symlink");
  return static_cast<int>(call(SYS_symlinkat, target, AT_FDCWD, path));
}
int unlink(const char* path) noexcept {
  return unlinkAt(AT_FDCWD, path, 0);
}
int unlinkat(int folder, const char* path, int flags) noexcept {
  return unlinkAt(folder, path, flags);
}
int rmdir(const char* path) noexcept {
  return unlinkAt(AT_FDCWD, path, AT_REMOVEDIR);
}
int remove(const char* path) noexcept {
  if (unlink(path) == 0) return 0;
  return errno == EISDIR ? rmdir(path) : -1;
}
int mkdirat(int folder, const char* path, mode_t mode) noexcept {
  return change(Kind::makeFolder, folder, path,
                [&](const Turn&) { return static_cast<int>(call(SYS_mkdirat, folder, path, mode)); });
}
int mkdir(const char* path, mode_t mode) noexcept {
  return mkdirat(AT_FDCWD, path, mode);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  return statusAt(folder, path, status, flags);
}
int fstatat64(int folder, const char* path, struct stat64* status, int flags) noexcept {
  return statusAt(folder, path, reinterpret_cast<struct stat*>(status), flags);
}
int stat(const char* path, struct stat* status) noexcept {
  return statusAt(AT_FDCWD, path, status, 0);
}
int stat64(const char* path, struct stat64* status) noexcept {
  return fstatat64(AT_FDCWD, path, status, 0);
}
int lstat(const char* path, struct stat* status) noexcept {
  return statusAt(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}
int lstat64(const char* path, struct stat64* status) noexcept {
  return fstatat64(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}
int fstat(int descriptor, struct stat* status) noexcept {
  return statusAt(descriptor, "", status, AT_EMPTY_PATH);
}
int fstat64(int descriptor, struct stat64* status) noexcept {
  return fstatat64(descriptor, "", status, AT_EMPTY_PATH);
}
int faccessat(int folder, const char* path, int mode, int) noexcept {
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_faccessat, folder, path, mode));
  };
  return shim().concerns(folder, path) ? shim().run(Kind::query, operation, unnoted) : operation({});
}
int access(const char* path, int mode) noexcept {
  return faccessat(AT_FDCWD, path, mode, 0);
}
ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
  const auto operation = [&](const Turn&) { return call(SYS_readlink, path, buffer, size); };
  return shim().concerns(AT_FDCWD, path) ? shim().run(Kind::query, operation, unnoted) : operation({});
}

int chmod(const char* path, mode_t mode) noexcept {
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_fchmodat, AT_FDCWD, path, mode));
  };
  return shim().concerns(AT_FDCWD, path) ? shim().run(Kind::mode, operation, unnoted) : operation({});
}
int fchmod(int descriptor, mode_t mode) noexcept {
  const auto operation = [&](const Turn&) { return static_cast<int>(call(SYS_fchmod, descriptor, mode)); };
  return shim().concerns(descriptor) ? shim().run(Kind::mode, operation, unnoted) : operation({});
}
int fchown(int descriptor, uid_t user, gid_t group) noexcept {
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_fchown, descriptor, user, group));
  };
  return shim().concerns(descriptor) ? shim().run(Kind::mode, operation, unnoted) : operation({});
}

int flock(int descriptor, int how) noexcept {
  const auto operation = [&](const Turn&) { return static_cast<int>(call(SYS_flock, descriptor, how)); };
  return shim().concerns(descriptor) ? shim().run(Kind::lock, operation, unnoted) : operation({});
}
int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const auto operation = [&](const Turn&) {
    return static_cast<int>(call(SYS_fcntl, descriptor, command, argument));
  };
  if (!shim().concerns(descriptor)) return operation({});
  const bool copies = command == F_DUPFD || command == F_DUPFD_CLOEXEC;
  const bool isLock = command == F_SETLK || command == F_SETLKW || command == F_GETLK ||
                      command == F_OFD_SETLK || command == F_OFD_SETLKW;
  if (!copies && !isLock) return operation({});
  const int result = shim().run(Kind::lock, operation, unnoted);
  if (copies) shim().watch(result);
  return result;
}
int fcntl64(int descriptor, int command, ...) __attribute__((alias("fcntl")));

void* mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t offset) noexcept {
  const auto operation = [&](const Turn&) {
    return call(SYS_mmap, address, size, protection, flags, descriptor, offset);
  };
  const bool isShared = (flags & MAP_SHARED) != 0 && (protection & PROT_WRITE) != 0;
  if (!isShared || !shim().concerns(descriptor)) return reinterpret_cast<void*>(operation({}));
  // SQLite's shared memory, which is made anew after a power cut, may change unseen; no other file.
  if (!pathOf(descriptor).ends_with("-shm")) refuse("a shared mapping");
  return reinterpret_cast<void*>(shim().run(Kind::query, operation, unnoted));
}
void* mmap64(void* address, size_t size, int protection, int flags, int descriptor, off_t offset) noexcept {
  return mmap(address, size, protection, flags, descriptor, offset);
}

DIR* opendir(const char* path) {
  static const auto real = next<DIR* (*)(const char*)>("opendir");
  if (!shim().concerns(AT_FDCWD, path)) return real(path);
  DIR* folder = nullptr;
  const auto operation = [&](const Turn&) {
    folder = real(path);
    return folder ? 0 : -1;
  };
  if (shim().run(Kind::open, operation, unnoted) < 0) return nullptr;
  shim().watch(::dirfd(folder));
  return folder;
}
DIR* fdopendir(int descriptor) {
  static const auto real = next<DIR* (*)(int)>("fdopendir");
  return real(descriptor);
}
struct dirent* readdir(DIR* folder) {
  static const auto real = next<struct dirent* (*)(DIR*)>("readdir");
  if (!shim().concerns(::dirfd(folder))) return real(folder);
  struct dirent* entry = nullptr;
  const auto operation = [&](const Turn&) {
    errno = 0;
    entry = real(folder);
    return entry || errno == 0 ? 0 : -1;
  };
  return shim().run(Kind::read, operation, unnoted) < 0 ? nullptr : entry;
}
struct dirent64* readdir64(DIR* folder) {
  return reinterpret_cast<struct dirent64*>(readdir(folder));
}
int closedir(DIR* folder) {
  static const auto real = next<int (*)(DIR*)>("closedir");
  const auto operation = [&](const Turn&) { return real(folder); };
  if (!shim().concerns(::dirfd(folder))) return operation({});
  shim().forget(::dirfd(folder));
  return shim().run(Kind::close, operation, unnoted);
}

}  // extern "C"
