#pragma once

#include <memory>

#include "bindings/Callbacks.h"
#include "lumora/Platform/Value.h"

/// What the library holds of the runtime of C#, and values on their way to it.
namespace lumora::csharp {

/// A value as bytes after their number, four bytes. They last until the calling thread makes the next ones.
const void* lastingBytes(const Value& value);

/// The functions of Callbacks.cs: run a task, let go of a task, and let go of the object of a callback, which
/// is kept there under the callback's address.
struct Functions {
  void (*run)(void* task);
  void (*releaseTask)(void* task);
  void (*release)(void* callback);
};
/// Before everything else.
void begin(const Functions& functions);

/// Lets go of a callback's object on any thread; when the runtime has ended the object stays.
void release(void* callback);

/// A callback whose object the runtime's side keeps.
template <typename Callback>
std::shared_ptr<Callback> held(Callback* callback) {
  if (callback == nullptr) return nullptr;
  return std::shared_ptr<Callback>(callback, [](Callback* one) { release(one); });
}

/// Runs an Action.
class Call : public bindings::Runnable {
 public:
  explicit Call(void* task) : task_(task) {}
  ~Call() override;
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  void run() override;

 private:
  void* const task_;
};

}  // namespace lumora::csharp
