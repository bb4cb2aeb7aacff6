// The output: whole lines, in one write where the system takes it. Who reads no more is not waited for, and
// ends nothing.
#include "hosts/terminal/Output.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace lumora_host {

void Output::write(const JSONObject& object) {
  const std::string line = object.text() + "\n";
  lumora::Lock lock(mutex_);
  for (std::string_view rest = line; !rest.empty();) {
    const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
    if (count >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace lumora_host
