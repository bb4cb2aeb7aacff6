#pragma once

#include <string>

#include "lumora/Platform/Value.h"

namespace lumora {

/// A stored campaign: its identifier, the event that shows it, and the object as the service sent it.
struct CampaignRow {
  std::string campaignId;
  std::string event;
  Dictionary campaign;
};

}  // namespace lumora
