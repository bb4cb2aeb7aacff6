// The keeper's rules. Moments are dates of the wall clock; where that was set back, a pause lasts no longer
// than it would have from now on.
#include "lumora/Facade/KeeperPlan.h"

#include <algorithm>

namespace lumora {
namespace {

using namespace std::chrono_literals;

constexpr KeeperPlan::Duration firstPause = 15s;
constexpr KeeperPlan::Duration longestPause = 30min;
/// As many failures as make the longest pause.
constexpr int mostFailures = 8;
/// Each pause is this much shorter or longer than its rule says, at most.
constexpr double spreading = 0.25;
/// Many devices get their network back at the same moment.
constexpr double soonest = 1;
constexpr double latest = 5;
/// The library's own minimum between two requests for the configuration, the longer of the two there are.
constexpr KeeperPlan::Duration minimumBetweenAttempts = 10s;

constexpr KeeperPlan::Work everyWork[] = {KeeperPlan::Work::initialization, KeeperPlan::Work::upload,
                                          KeeperPlan::Work::refresh};

std::size_t indexOf(KeeperPlan::Work work) {
  return static_cast<std::size_t>(work);
}

KeeperPlan::Duration longestSpread(KeeperPlan::Duration pause) {
  return std::chrono::ceil<KeeperPlan::Duration>(pause * (1 + spreading));
}

}  // namespace

KeeperPlan::KeeperPlan(Intervals intervals, Random random) : intervals_(intervals), random_(random) {
  intervals_.uploadAfter = std::max(intervals_.uploadAfter, 5s);
  intervals_.refreshEvery = std::max(intervals_.refreshEvery, 10s);
}

KeeperPlan::Duration KeeperPlan::spread(Duration duration) {
  return std::chrono::round<Duration>(duration * random_.between(1 - spreading, 1 + spreading));
}

KeeperPlan::Duration KeeperPlan::pauseBefore(Work work) const {
  if (work == Work::upload) return intervals_.uploadAfter;
  return work == Work::refresh ? Duration(intervals_.refreshEvery) : firstPause;
}

KeeperPlan::Duration KeeperPlan::pauseAfterFailures() const {
  return std::min(longestPause, firstPause * (1 << std::clamp(failures_ - 1, 0, mostFailures - 1)));
}

void KeeperPlan::update(const Needs& needs, Date now) {
  for (const Work work : everyWork) {
    const bool isNeeded = work == Work::initialization ? needs.initialization
                          : work == Work::upload       ? needs.upload
                                                       : needs.refresh;
    auto& due = due_[indexOf(work)];
    if (!isNeeded) {
      due.reset();
    } else if (!due || *due > now + longestSpread(pauseBefore(work))) {
      const Date from = work == Work::refresh ? std::min(needs.lastSync.value_or(now), now) : now;
      due = from + spread(pauseBefore(work));
    }
  }
  if (notBefore_) notBefore_ = std::min(*notBefore_, now + longestSpread(longestPause));
}

std::optional<KeeperPlan::Next> KeeperPlan::next(Date now) const {
  std::optional<Next> first;
  for (const Work work : everyWork) {
    const auto& due = due_[indexOf(work)];
    if (!due) continue;
    const Date moment = std::max({*due, notBefore_.value_or(*due), now});
    const auto delay = std::chrono::ceil<Duration>(moment - now);
    if (!first || delay < first->delay) first = {work, delay};
  }
  return first;
}

void KeeperPlan::begin(Work work, Date now) {
  due_[indexOf(work)].reset();
  lastAttempt_ = now;
}

void KeeperPlan::succeeded(Work work) {
  due_[indexOf(work)].reset();
  failures_ = 0;
  isNetworkLost_ = false;
  notBefore_.reset();
}

void KeeperPlan::failed(Work work, Failure failure, Date now) {
  failures_ = failure == Failure::refusal ? mostFailures : std::min(failures_ + 1, mostFailures);
  isNetworkLost_ = failure == Failure::network;
  due_[indexOf(work)] = now;
  notBefore_ = now + spread(pauseAfterFailures());
  lastAttempt_ = now;
}

void KeeperPlan::networkReturned(Date now) {
  if (!waitsForNetwork()) return;
  const std::chrono::duration<double> pause(random_.between(soonest, latest));
  const Date soon = now + std::chrono::round<Duration>(pause);
  const Date allowed = lastAttempt_ ? std::min(*lastAttempt_, now) + minimumBetweenAttempts : soon;
  notBefore_ = std::min(notBefore_.value_or(soon), std::max(soon, allowed));
  failures_ = 0;
  isNetworkLost_ = false;
}

bool KeeperPlan::waitsForNetwork() const {
  return isNetworkLost_ && std::ranges::any_of(due_, [](const auto& due) { return due.has_value(); });
}

}  // namespace lumora
