#pragma once

#include <string>

namespace lumora {

/// Why an initialisation, a request for the configuration, or an upload failed.
struct LumoraError {
  enum class Reason {
    none,
    credentialsMissing,         ///< The account or the secret is empty.
    credentialsNotStored,       ///< The settings store refuses the account.
    applicationVersionMissing,  ///< The host's information has no "CFBundleShortVersionString".
    network,                    ///< No answer came; `code` is the URL loader's.
    malformedAnswer,            ///< What came is no JSON object or list; `code` is the status.
    refused,                    ///< The service answered that it will not; `code` is the status.
    notModified,                ///< The service has nothing new: no configuration to start with.
    blocked,                    ///< The service has disabled the account for this application.
    signatureMissing,           ///< Secure mode is on, and no signature is set.
    otherProcess,               ///< Another process of this application was uploading for too long.
    aborted,                    ///< A shutdown, an erasure or a denied consent has cut the request short.
  };

  Reason reason = Reason::none;
  /// Of `network` the loader's code (`URLErrorCode`), of an answer its HTTP status; else 0.
  int code = 0;
  /// The loader's or the service's own words, for people; may be empty.
  std::string message = {};
};

/// Why an event is not stored any more, or never was.
enum class LumoraEventLoss {
  notJSON,      ///< It holds what JSON does not have: a number that is not finite, a text that is not UTF-8.
  queueFull,    ///< As many events wait as may, and its kind is not crucial.
  storeFailed,  ///< The database could not be written.
};

}  // namespace lumora
