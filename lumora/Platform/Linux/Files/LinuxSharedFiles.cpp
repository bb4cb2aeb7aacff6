// Folders and files for their owner alone, and locks between processes: record locks, which a child made by
// fork does not inherit, unlike the flock of the store files (StoreLock). Who locks what is FileLock's
// business.
#include "lumora/Platform/Linux/Files/LinuxSharedFiles.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>

#include "lumora/Platform/Linux/Files/Files.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {
namespace {

/// The system reads a path up to its first NUL, and would take such a one for another.
bool isPath(const std::string& text) {
  return !text.empty() && text.find('\0') == std::string::npos;
}

/// One lock file of this process. Its descriptor stays open between two holders, since closing any descriptor
/// of a file drops the process's lock on it.
struct LockFile {
  FileDescriptor file;
  /// The process that holds the lock; 0: none. A child made by `fork` gets a copy of this, but not the lock.
  pid_t holder = 0;
};

struct LockFiles {
  Mutex mutex;
  std::map<std::string, LockFile> byPath LUMORA_GUARDED_BY(mutex);
};

LockFiles& lockFiles() {
  static auto* const files = new LockFiles;
  return *files;
}

/// Whether the path still names the open file: whoever removed the folder took the lock file along, and a
/// lock on what is left keeps nobody out.
bool names(const std::string& path, const FileDescriptor& file) {
  struct stat held {};
  struct stat named {};
  return file.isOpen() && ::fstat(file.get(), &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

/// What an attempt that failed tells: want of descriptors or memory passes.
FileLockState stateAfter(int error) {
  const bool passes = error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR;
  return passes ? FileLockState::busy : FileLockState::unsupported;
}

/// A network's, a cluster's, a virtual machine's host's, and those that a program serves.
constexpr std::uint32_t kForeignFileSystems[] = {NFS_SUPER_MAGIC,   SMB_SUPER_MAGIC,  SMB2_SUPER_MAGIC,
                                                 CIFS_SUPER_MAGIC,  AFS_SUPER_MAGIC,  AFS_FS_MAGIC,
                                                 NCP_SUPER_MAGIC,   CEPH_SUPER_MAGIC, CODA_SUPER_MAGIC,
                                                 OCFS2_SUPER_MAGIC, V9FS_MAGIC,       FUSE_SUPER_MAGIC};

bool setLock(const FileDescriptor& file, short type) {
  struct flock range {};  // The whole file.
  range.l_type = type;
  range.l_whence = SEEK_SET;
  return ::fcntl(file.get(), F_SETLK, &range) == 0;
}

}  // namespace

std::optional<std::string> LinuxSharedFiles::makeFolder(const std::string& path) {
  if (!isPath(path)) return "Not a path";
  if (makeFolders(path)) return std::nullopt;
  return reasonOf(errno);
}

std::optional<std::string> LinuxSharedFiles::makePrivateFile(const std::string& path) {
  if (!isPath(path)) return "Not a path";
  constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
  if (FileDescriptor(::open(path.c_str(), flags | O_EXCL, 0600)).isOpen()) return std::nullopt;
  struct stat status {};
  if (errno == EEXIST && ::stat(path.c_str(), &status) == 0) {
    if (!S_ISREG(status.st_mode)) return "Not a file";
    if ((status.st_mode & 0777U) == 0600U || ::chmod(path.c_str(), 0600) == 0) return std::nullopt;
  } else if (errno == ENOENT && FileDescriptor(::open(path.c_str(), flags, 0600)).isOpen()) {
    return std::nullopt;  // A link to a file that was not there: it is made where the link leads.
  }
  return reasonOf(errno);
}

std::optional<std::string> LinuxSharedFiles::moveAside(const std::string& path, const std::string& newPath) {
  if (!isPath(path) || !isPath(newPath)) return "Not a path";
  struct stat status {};
  // Two steps, so the caller has to keep others from making that name in between.
  if (::lstat(newPath.c_str(), &status) == 0) return reasonOf(EEXIST);
  if (std::rename(path.c_str(), newPath.c_str()) == 0) return std::nullopt;
  return reasonOf(errno);
}

FileLockState LinuxSharedFiles::tryLock(const std::string& path) {
  if (!isPath(path) || !makeFolders(parentFolder(path))) return FileLockState::unsupported;
  LockFiles& files = lockFiles();
  Lock lock(files.mutex);
  LockFile& own = files.byPath[path];
  // Record locks know processes alone: the threads of this one are kept apart here.
  if (own.holder == ::getpid()) return FileLockState::busy;
  for (;;) {
    if (!names(path, own.file))
      own = {FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))};
    if (!own.file.isOpen()) return stateAfter(errno);
    if (!setLock(own.file, F_WRLCK))
      return errno == EAGAIN || errno == EACCES ? FileLockState::busy : stateAfter(errno);
    // Removed while it was being locked: another one has to be made.
    if (!names(path, own.file)) continue;
    own.holder = ::getpid();
    return FileLockState::taken;
  }
}

void LinuxSharedFiles::unlock(const std::string& path) {
  LockFiles& files = lockFiles();
  Lock lock(files.mutex);
  LockFile& own = files.byPath[path];
  if (own.holder != ::getpid()) return;
  own.holder = 0;
  setLock(own.file, F_UNLCK);
}

bool LinuxSharedFiles::sharesMemory(const std::string& path) {
  struct statfs system {};
  return isPath(path) && ::statfs(path.c_str(), &system) == 0 &&
         std::ranges::find(kForeignFileSystems, static_cast<std::uint32_t>(system.f_type)) ==
             std::end(kForeignFileSystems);
}

}  // namespace lumora
