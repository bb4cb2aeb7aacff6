#pragma once

#include <array>
#include <chrono>
#include <optional>

#include "lumora/Platform/Value.h"
#include "lumora/Util/Random.h"

namespace lumora {

/// When the keeper does what: one deadline out of everything that waits. Pure rules, which are given the
/// time. One thread at a time.
class KeeperPlan {
 public:
  using Duration = std::chrono::milliseconds;

  enum class Work { initialization, upload, refresh };
  /// How a failure came about: a lost network may be back any moment, an answer that says no will stay.
  enum class Failure { network, answer, refusal };

  struct Intervals {
    std::chrono::seconds uploadAfter;
    std::chrono::seconds refreshEvery;
  };

  /// What there is to do.
  struct Needs {
    bool initialization = false;
    bool upload = false;
    bool refresh = false;
    /// When the configuration was last asked for.
    std::optional<Date> lastSync = {};
  };

  struct Next {
    Work work;
    /// Zero when it is due.
    Duration delay;
  };

  KeeperPlan(Intervals intervals, Random random);

  /// Gives each need that is new its moment, and drops those of needs that are gone.
  void update(const Needs& needs, Date now);
  /// What comes next, and when; nothing when nothing waits.
  std::optional<Next> next(Date now) const;
  /// The work is done now.
  void begin(Work work, Date now);
  void succeeded(Work work);
  void failed(Work work, Failure failure, Date now);
  /// After a failure for want of a network the next attempt follows in seconds.
  void networkReturned(Date now);
  /// Whether news of the network would change anything.
  bool waitsForNetwork() const;

 private:
  static constexpr std::size_t workCount = 3;

  Duration spread(Duration duration);
  Duration pauseBefore(Work work) const;
  Duration pauseAfterFailures() const;

  Intervals intervals_;
  Random random_;
  std::array<std::optional<Date>, workCount> due_;
  /// How often in a row something has failed, and when the pause after that is over.
  int failures_ = 0;
  bool isNetworkLost_ = false;
  std::optional<Date> notBefore_;
  std::optional<Date> lastAttempt_;
};

}  // namespace lumora
