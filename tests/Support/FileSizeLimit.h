#pragma once

#include <signal.h>
#include <sys/resource.h>

namespace lumora::testing {

/// Makes every write past that many bytes of a file fail while it lives, as on a full disk. Tests may run as
/// the superuser, whom permissions do not stop.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : previousHandler_(::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit limited{bytes, previous_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &previous_);
    ::signal(SIGXFSZ, previousHandler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit previous_{};
  void (*previousHandler_)(int);
};

}  // namespace lumora::testing
