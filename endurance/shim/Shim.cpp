#include "endurance/shim/Shim.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <new>

namespace endurance {
namespace {

constexpr std::size_t listSize = std::size_t{1} << 20U;

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::uint64_t numberOf(const std::string& text) {
  return std::strtoull(text.c_str(), nullptr, 10);
}

/// Whether a full disk is a reason for this operation to fail.
bool needsSpace(Kind kind) {
  return std::string_view("cwstmld").find(static_cast<char>(kind)) != std::string_view::npos;
}

int openFile(const std::string& path, int flags) {
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path.c_str(), flags | O_CREAT | O_CLOEXEC, 0600));
}

}  // namespace

std::string pathOf(int descriptor) {
  std::array<char, PATH_MAX> target{};
  const std::string name = "/proc/self/fd/" + std::to_string(descriptor);
  const auto size = ::syscall(SYS_readlink, name.c_str(), target.data(), target.size());
  return size > 0 ? std::string(target.data(), static_cast<std::size_t>(size)) : std::string();
}

Shim::Order::Order(Shim& shim, Kind kind) {
  if (!shim.hasJournal() || kind == Kind::lock) return;
  while (shim.order_.test_and_set()) ::sched_yield();
  held_ = &shim.order_;
}

Shim::Order::~Order() {
  if (held_) held_->clear();
}

Shim& Shim::instance() {
  // Never destroyed: files are closed until the very end.
  alignas(Shim) static std::array<std::byte, sizeof(Shim)> storage;
  static Shim* const shim = new (storage.data()) Shim;
  return *shim;
}

Shim::Shim() : folder_(variable("ENDURANCE_FOLDER")) {
  if (folder_.empty()) return;
  count_ = &ownCount_;
  if (const std::string list = variable("ENDURANCE_LIST"); !list.empty()) {
    const int file = openFile(list, O_RDWR);
    if (::syscall(SYS_ftruncate, file, listSize) != 0) std::abort();
    // Not by the C library's function, which is one of those in Calls.cpp.
    const long memory = ::syscall(SYS_mmap, nullptr, listSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0L);
    if (memory == -1) std::abort();
    count_ = reinterpret_cast<std::atomic<std::uint64_t>*>(memory);
    letters_ = reinterpret_cast<char*>(memory) + sizeof(*count_);
  }
  if (const std::string journal = variable("ENDURANCE_JOURNAL"); !journal.empty())
    journal_ = openFile(journal, O_WRONLY | O_APPEND);
  killsAt_ = numberOf(variable("ENDURANCE_KILL"));
  const std::string fail = variable("ENDURANCE_FAIL");
  failsAt_ = numberOf(fail);
  failsAll_ = fail.ends_with(":all");
  failsShort_ = fail.find(":SHORT") != std::string::npos;
  failure_ = fail.find(":ENOSPC") != std::string::npos ? ENOSPC : EIO;
}

bool Shim::concerns(int folder, const char* path) const {
  if (folder_.empty() || !path) return false;
  std::string_view text(path);
  const std::string base = *path != '/' && folder != AT_FDCWD ? pathOf(folder) : std::string();
  if (!base.empty()) text = base;
  // The folder itself is the driver's, what is in it the host's.
  return text.size() > folder_.size() && text.starts_with(folder_) && text[folder_.size()] == '/';
}

bool Shim::concerns(int descriptor) const {
  const auto index = static_cast<std::size_t>(descriptor);
  return descriptor >= 0 && index < mostDescriptors && watched_[index];
}

void Shim::watch(int descriptor) {
  if (descriptor >= 0 && static_cast<std::size_t>(descriptor) < mostDescriptors)
    watched_[static_cast<std::size_t>(descriptor)] = true;
}

void Shim::forget(int descriptor) {
  if (concerns(descriptor)) watched_[static_cast<std::size_t>(descriptor)] = false;
}

/// The operations are numbered from 1.
Turn Shim::begin(Kind kind) {
  const std::uint64_t number = ++*count_;
  if (letters_ && number < listSize - sizeof(*count_)) letters_[number - 1] = static_cast<char>(kind);
  if (number == killsAt_) ::kill(::getpid(), SIGKILL);
  Turn turn;
  turn.number = static_cast<std::uint32_t>(number);
  if (failsAt_ == 0 || (failsAll_ ? number < failsAt_ : number != failsAt_)) return turn;
  if (failsShort_)
    turn.isShort = kind == Kind::write;
  else if (failure_ != ENOSPC || needsSpace(kind))
    turn.error = failure_;
  return turn;
}

void Shim::write(Kind kind, std::uint32_t number, std::uint64_t file, std::uint64_t offset,
                 std::string_view path, std::string_view data) {
  JournalEntry entry;
  entry.kind = static_cast<char>(kind);
  entry.number = number;
  entry.file = file;
  entry.offset = offset;
  entry.pathLength = static_cast<std::uint32_t>(path.size());
  entry.dataLength = static_cast<std::uint32_t>(data.size());
  std::array<iovec, 3> parts{iovec{&entry, sizeof entry}, iovec{const_cast<char*>(path.data()), path.size()},
                             iovec{const_cast<char*>(data.data()), data.size()}};
  // A journal with a gap would tell of another disk.
  if (::syscall(SYS_writev, journal_, parts.data(), parts.size()) < 0) std::abort();
}

void Shim::writeLine(std::string_view text) {
  const Order order(*this, Kind::line);
  write(Kind::line, 0, 0, 0, {}, text);
}

}  // namespace endurance
