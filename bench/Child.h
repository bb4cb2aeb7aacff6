#pragma once

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>

namespace lumora_bench {

/// A fresh process of this program that plays one of the roles of `Roles.h`, or of another one of `Hosts/`.
/// The library's instances live as long as their process, so every measure has one of its own.
///
/// The role's result comes back through a pipe as JSON. A role that serves others, as the service does, gives
/// its result early and lives until this object goes.
class Child {
 public:
  Child(const std::string& role, const nlohmann::json& arguments,
        const std::string& program = "/proc/self/exe");
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Waits for the role's result. Throws std::runtime_error when the process ends without one.
  nlohmann::json result();

 private:
  void end();

  const std::string role_;
  pid_t id_ = -1;
  /// What the child waits on; closed, it tells the child to end.
  int input_ = -1;
  int output_ = -1;
};

/// Plays a role in a process of its own and gives its result.
nlohmann::json runInChild(const std::string& role, const nlohmann::json& arguments);

/// The child's side: hands over the result of its role.
void giveResult(const nlohmann::json& result);
/// The child's side: waits until the parent lets it end.
void waitForParent();

}  // namespace lumora_bench
