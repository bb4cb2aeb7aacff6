#pragma once

#include <string_view>

#include "lumora/Util/LumoraConstants.h"

namespace lumora {

// The keys under which the library keeps its state in the host's settings store.

/// String: the account identifier.
inline constexpr std::string_view kLmroTarrowID = "lmro.Tarrow";
/// String: the application secret of the last successful initialisation.
inline constexpr std::string_view kLmroAppSecret = "lmro.AppSecret";
/// String: the host application's version at the last successful initialisation.
inline constexpr std::string_view kLmroAppVersion = "lmro.AppVersion";
/// Date: when the configuration was last asked for.
inline constexpr std::string_view kLmroLastUpdate = "lmro.LastUpdate";
/// Number: the stamp of the last sync answer, sent back with the next request.
inline constexpr std::string_view kLmroLastInAppUpdate = "lmro.Lst";
/// As received: seconds between two syncs or uploads, where that is less than the library's own minimum.
inline constexpr std::string_view kLmroSyncTimepout = "lmro.SyncTimeout";
/// Boolean: the account requires signed uploads.
inline constexpr std::string_view kLmroSecureMode = "lmro.secureMode";
/// Archive: the current security signature.
inline constexpr std::string_view kLmroSecureToken = "lmro.secureToken";
/// Boolean: this is a registered test device.
inline constexpr std::string_view kLmroTestDevice = "lmro.TestDevice";
/// String: the name under which it was registered.
inline constexpr std::string_view kLmroTestDeviceName = "lmro.DeviceName";
/// String: the push token.
inline constexpr std::string_view kLmroToken = "lmro.Token";
/// Date: when the last upload was started.
inline constexpr std::string_view kLmroLastReport = "lmro.LastReport";
/// String: the entity tag of the last successful GET.
inline constexpr std::string_view kLmroEtag = "lmro.Etag";
/// String: the entity tag that the next GET sends; written by earlier installations only.
inline constexpr std::string_view kOstrelEtagDefaultsKey = "OstrelETag";
/// Boolean: no application version was stored at the last initialisation.
inline constexpr std::string_view kLmroNewUser = "lmro.NewUser";
/// String: the local date of the first run.
inline constexpr std::string_view kLmroInstallDate = "lmro.InstallDate";
/// Boolean: the service has disabled the account for this application.
inline constexpr std::string_view kLmroAcountBlocked = "lmro.AcountBlocked";
/// Boolean: the client-information event was recorded since the last initialisation.
inline constexpr std::string_view kLmroInit = "lmro.InitReport";
/// String: the install identifier; with the bundle identifier appended, the device identifier.
inline constexpr std::string_view kOstrelAppIDDefaultsKey = "kOstrelAppIDDefaultsKey";

/// String: a push token that is stored under its key already, but not as a row yet.
inline constexpr std::string_view kLumoraUnreportedToken = "LumoraUnreportedToken";
/// String: the person's consent to tracking, "granted" or "denied". No erasure removes it.
inline constexpr std::string_view kLumoraConsent = "LumoraConsent";
/// Boolean: an erasure has begun and not ended.
inline constexpr std::string_view kLumoraErasure = "LumoraErasure";
/// Boolean: the events that wait are to be erased, as consent was denied with that wish, and are not yet.
inline constexpr std::string_view kLumoraEventErasure = "LumoraEventErasure";

/// The keys that an erasure removes. Beside them there is kOstrelAppIDDefaultsKey with the bundle identifier.
inline constexpr std::string_view erasedSettingsKeys[] = {kLmroTarrowID,
                                                          kLmroAppSecret,
                                                          kLmroAppVersion,
                                                          kLmroLastUpdate,
                                                          kLmroLastInAppUpdate,
                                                          kLmroSyncTimepout,
                                                          kLmroSecureMode,
                                                          kLmroSecureToken,
                                                          kLmroTestDevice,
                                                          kLmroTestDeviceName,
                                                          kLmroToken,
                                                          kLmroLastReport,
                                                          kLmroEtag,
                                                          kOstrelEtagDefaultsKey,
                                                          kLmroNewUser,
                                                          kLmroInstallDate,
                                                          kLmroAcountBlocked,
                                                          kLmroInit,
                                                          kOstrelAppIDDefaultsKey,
                                                          kLmroAppOpen,
                                                          kLumoraUnreportedToken,
                                                          kLumoraEventErasure};

}  // namespace lumora
