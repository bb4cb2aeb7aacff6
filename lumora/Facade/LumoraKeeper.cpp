// A host's handle on what keeps the library in touch (Keeping).
#include "lumora/Facade/LumoraKeeper.h"

#include <new>

#include "lumora/Facade/Keeping.h"
#include "lumora/Util/LostCall.h"

namespace lumora {
namespace {

std::shared_ptr<Keeping> begin(const LumoraKeeper::Options& options) try {
  return Keeping::begin({.uploadAfter = options.uploadAfter, .refreshEvery = options.refreshEvery});
} catch (const std::bad_alloc&) {
  tellLostCall("LumoraKeeper");
  return nullptr;
}

}  // namespace

LumoraKeeper::LumoraKeeper() : LumoraKeeper(Options{}) {}

LumoraKeeper::LumoraKeeper(const Options& options) : keeping_(begin(options)) {}

LumoraKeeper::~LumoraKeeper() {
  if (keeping_) keeping_->end();
}

}  // namespace lumora
