// Who is told of campaigns. One for the process: components are read far below whoever could hand it down.
#include "lumora/InApp/MessageObserver.h"

#include <atomic>

namespace lumora {
namespace {

std::atomic<MessageObserver*> currentObserver = nullptr;

}  // namespace

MessageObserver* MessageObserver::current() noexcept {
  return currentObserver;
}

void MessageObserver::setCurrent(MessageObserver& observer) noexcept {
  currentObserver = &observer;
}

}  // namespace lumora
