#pragma once

#include <string>

#include "service/AccountsFile.h"

namespace lumora::service {

/// Asks the library itself what it makes of a campaign. It has a store of its own for that, of which nothing
/// is kept; pictures come from the service's assets alone, never from the network. One for the process, since
/// the library has one platform. Any thread; one campaign after the other.
class CampaignVerdict {
 public:
  struct Options {
    /// For the library's files.
    std::string directory;
    std::string assetsDirectory;
    /// What follows the account identifier in host names.
    std::string domain;
  };

  /// Makes the library's platform at the first call; the options of later ones are not looked at.
  static void prepare(const Options& options);

  /// What becomes of the campaign, a JSON text: "kept", "lines" (the library's lines), "ended" (whether its
  /// time is over), "untried" (pictures elsewhere, which were not fetched), and, when it is kept,
  /// "description": what a screen draws, with its pictures.
  static JSON of(const std::string& campaign);
};

}  // namespace lumora::service
