#pragma once

#include <chrono>
#include <string>

#include "bench/Child.h"

namespace lumora_bench {

inline constexpr const char* kAccount = "acme";
inline constexpr const char* kSecret = "s3cret";
inline constexpr const char* kServiceURL = "https://acme.lumora.example/";

/// The development service in a process of its own, over TLS on the loopback address. It knows one account.
class LocalService {
 public:
  /// `folder` is made. Uploads are answered after the delay.
  explicit LocalService(const std::string& folder,
                        std::chrono::milliseconds uploadDelay = std::chrono::milliseconds(0));

  /// `HOST:PORT`
  const std::string& address() const noexcept { return address_; }
  const std::string& authorityFile() const noexcept { return authorityFile_; }

 private:
  Child process_;
  std::string address_;
  std::string authorityFile_;
};

}  // namespace lumora_bench
