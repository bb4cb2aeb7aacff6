// What the library holds of the runtime, and values on their way to it.
#include "bindings/csharp/Runtime.h"

#include <signal.h>

#include <cstdint>
#include <string>

#include "bindings/Packed.h"

namespace lumora::csharp {
namespace {

// The runtime writes them once, before it hands over anything.
Functions functions = {};

/// The runtime stops its threads by signals, and learns of null references by others; the library's threads
/// block all.
void letSignalsThrough() {
  static thread_local bool isDone = false;
  if (isDone) return;
  isDone = true;
  sigset_t signals;
  sigemptyset(&signals);
  for (const int one : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGPWR, SIGXCPU}) sigaddset(&signals, one);
  for (int one = SIGRTMIN; one <= SIGRTMAX; ++one) sigaddset(&signals, one);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

const void* lastingBytes(const Value& value) {
  static thread_local std::string bytes;
  const std::string packed = bindings::packed(value);
  const auto size = static_cast<std::uint32_t>(packed.size());
  bytes.assign(reinterpret_cast<const char*>(&size), sizeof size);
  bytes += packed;
  return bytes.data();
}

void begin(const Functions& given) {
  functions = given;
  bindings::Gate::setPreparation(letSignalsThrough);
}

void release(void* callback) {
  const bindings::Gate::Entry entry;
  if (entry) functions.release(callback);
}

Call::~Call() {
  const bindings::Gate::Entry entry;
  if (entry) functions.releaseTask(task_);
}

void Call::run() {
  functions.run(task_);
}

}  // namespace lumora::csharp
