// A life in which one allocation fails: malloc and its kin are this file's while it runs.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "endurance/host/Crash.h"
#include "endurance/host/Lives.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "lumora/Platform/Linux/LinuxApplication.h"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

namespace {

std::atomic<bool> isCounting = false;
std::atomic<long> count = 0;
long failing = 0;

/// Whether this allocation is the one.
bool fails() {
  if (!isCounting || ++count != failing) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

// operator new, the C library's strdup and everybody else come here.
extern "C" {
void* malloc(size_t size) noexcept {
  return fails() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t number, size_t size) noexcept {
  return fails() ? nullptr : __libc_calloc(number, size);
}
void* realloc(void* memory, size_t size) noexcept {
  return fails() ? nullptr : __libc_realloc(memory, size);
}
void* aligned_alloc(size_t alignment, size_t size) noexcept {
  return fails() ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** memory, size_t alignment, size_t size) noexcept {
  if (fails()) return ENOMEM;
  *memory = __libc_memalign(alignment, size);
  return *memory ? 0 : ENOMEM;
}
}

namespace endurance {
namespace {

using lumora::LifecycleNotification;
using lumora::Lumora;

constexpr int actionsOfLife = 20;

/// The first call is the one that may throw; then the host tries again.
Lumora& lumora() {
  for (;;) {
    try {
      return Lumora::sharedInstance();
    } catch (const std::bad_alloc&) {
    }
  }
}

/// Runs a call of the host's. Whatever the library throws at it is a fault.
template <class Call>
void guarded(const char* what, const Call& call) {
  try {
    call();
  } catch (...) {
    isCounting = false;
    std::printf("thrown by %s\n", what);
    isCounting = true;
  }
}

}  // namespace

int liveWithFailingAllocation(lumora::LinuxPlatform& platform, long number, const std::string& name) {
  const auto metaData = std::make_shared<lumora::LumoraActionMetaData>();
  metaData->setType("kind");
  const auto lead = std::make_shared<lumora::LumoraLead>();
  lead->setFirstName("Ada");
  // Short texts have no memory of their own: handing them over takes none that is the host's.
  const std::optional<std::string> account = "acme";
  const std::optional<std::string> secret = "s3cret";
  const std::optional<std::string> session = "s";
  std::vector<std::optional<std::string>> names;
  for (int action = 0; action < actionsOfLife; ++action) names.push_back(name + "-" + std::to_string(action));
  // A thread that could not be started is started by the next call: only the last rest must come to an end.
  bool isSettled = false;
  const auto rest = [&](double seconds) {
    guarded("the main queue", [&] { isSettled = settle(platform, seconds); });
  };

  tellWhoCrashes();
  failing = number;
  isCounting = true;
  guarded("initialize", [&] { lumora().initializeWithTarrowID(account, secret); });
  rest(5);
  guarded("startSession", [&] { lumora().startSession(session); });
  for (const auto& action : names) guarded("reportAction", [&] { lumora().reportAction(action, metaData); });
  rest(5);
  guarded("associateLead", [&] { lumora().associateLead(lead); });
  guarded("endSession", [&] { lumora().endSession(session); });
  guarded("the background", [&] { platform.application().post(LifecycleNotification::didEnterBackground); });
  rest(5);
  guarded("the foreground", [&] { platform.application().post(LifecycleNotification::willEnterForeground); });
  guarded("reportAll", [&] { lumora().reportAll(); });
  guarded("getDeviceId", [&] { static_cast<void>(lumora().getDeviceId()); });
  rest(240);
  isCounting = false;
  std::printf("%ld\n%s\n", count.load(), isSettled ? "settled" : "stuck");
  return 0;
}

}  // namespace endurance
