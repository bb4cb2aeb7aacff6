// What stands between a host and its disk: operations on the files below one folder are counted, and one of
// them may be made to fail, be cut short, or be the process's last. The environment tells which, and where
// the list of operations and the journal go. The interposed functions are in Calls.cpp.
#pragma once

#include <sys/types.h>
#include <sys/uio.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

namespace endurance {

/// What an operation does; the letters are what the driver reads.
enum class Kind : char {
  open = 'o',
  create = 'c',
  read = 'r',
  write = 'w',
  sync = 's',
  syncFolder = 'f',
  truncate = 't',
  rename = 'm',
  link = 'l',
  unlink = 'u',
  makeFolder = 'd',
  removeFolder = 'e',
  query = 'q',
  lock = 'k',
  mode = 'h',
  close = 'x',
  /// Not an operation: a line that the process wrote to its output or its log.
  line = '-',
};

/// One entry of the journal, followed by the path and the data. Numbers have the machine's byte order.
struct JournalEntry {
  std::uint64_t file = 0;
  std::uint64_t offset = 0;
  std::uint32_t number = 0;
  std::uint32_t pathLength = 0;
  std::uint32_t dataLength = 0;
  char kind = 0;
  std::array<char, 3> unused{};
};

/// What becomes of one operation.
struct Turn {
  int error = 0;
  bool isShort = false;
  std::uint32_t number = 0;
};

/// Where an open file or folder lies.
std::string pathOf(int descriptor);

/// Reads the environment once:
///   ENDURANCE_FOLDER   the folder; without it nothing is done at all
///   ENDURANCE_LIST     file that receives the number of operations (8 bytes), then a letter for each
///   ENDURANCE_JOURNAL  file that receives what changes the disk, in order
///   ENDURANCE_FAIL     NUMBER:ERROR[:all] with ERROR one of ENOSPC, EIO, SHORT; `all`: and all that follow
///   ENDURANCE_KILL     NUMBER of the operation before which the process kills itself
class Shim {
 public:
  static Shim& instance();

  bool concerns(int folder, const char* path) const;
  bool concerns(int descriptor) const;
  void watch(int descriptor);
  void forget(int descriptor);
  bool hasJournal() const { return journal_ >= 0; }

  /// Runs an operation, unless its turn is to fail: -1 then, with errno. `note` writes the journal.
  template <class Operation, class Note>
  auto run(Kind kind, const Operation& operation, const Note& note) {
    using Result = decltype(operation(Turn()));
    const Order order(*this, kind);
    const Turn turn = begin(kind);
    if (turn.error != 0) {
      if (kind == Kind::close) operation(turn);  // The descriptor is gone all the same.
      errno = turn.error;
      return static_cast<Result>(-1);
    }
    const Result result = operation(turn);
    const int error = errno;
    if (hasJournal() && result >= 0) note(turn.number, result);
    errno = error;
    return result;
  }

  void write(Kind kind, std::uint32_t number, std::uint64_t file, std::uint64_t offset, std::string_view path,
             std::string_view data);
  /// The same for a line of output, which is no operation.
  void writeLine(std::string_view text);

 private:
  /// While a journal is written, one operation at a time: its order is that of the disk. Whoever waits for a
  /// lock of another process holds nobody up.
  class Order {
   public:
    Order(Shim& shim, Kind kind);
    ~Order();
    Order(const Order&) = delete;
    Order& operator=(const Order&) = delete;

   private:
    std::atomic_flag* held_ = nullptr;
  };

  Shim();
  Turn begin(Kind kind);

  static constexpr std::size_t mostDescriptors = 65536;
  std::string folder_;
  std::array<std::atomic<bool>, mostDescriptors> watched_{};
  std::atomic_flag order_;
  std::atomic<std::uint64_t>* count_ = nullptr;
  std::atomic<std::uint64_t> ownCount_ = 0;
  char* letters_ = nullptr;
  int journal_ = -1;
  std::uint64_t failsAt_ = 0;
  std::uint64_t killsAt_ = 0;
  int failure_ = 0;
  bool failsShort_ = false;
  bool failsAll_ = false;
};

}  // namespace endurance
