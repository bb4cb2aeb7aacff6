// A host's handle on what keeps the library in touch (Keeping).
#include "lumora/Facade/LumoraKeeper.h"

#include "lumora/Facade/Keeping.h"

namespace lumora {

LumoraKeeper::LumoraKeeper() : LumoraKeeper(Options{}) {}

LumoraKeeper::LumoraKeeper(const Options& options)
    : keeping_(Keeping::begin({.uploadAfter = options.uploadAfter, .refreshEvery = options.refreshEvery})) {}

LumoraKeeper::~LumoraKeeper() {
  if (keeping_) keeping_->end();
}

}  // namespace lumora
