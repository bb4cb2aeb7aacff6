"""What the generated classes of every language are told that the headers do not say, by the C++ names."""
# Questions that are properties where a language has them.
PROPERTIES = {
    "getAccessKey", "accountBlocked", "actionMetadata", "canReport", "canUpdate", "getDeviceId", "getEmail",
    "isAppStoreEnvironment", "isPushRegistered", "isSecureModeEnabled", "isValid", "getPushDeviceToken",
    "sdkInitialized", "shown", "getSignature", "getTimeStamp", "trackingConsent", "userAttributes",
}
# Those that can be set.
SETTABLE = {"actionMetadata", "userAttributes"}
# Parameters that have no name in the headers.
UNNAMED = {
    "initializationFailed": "error", "configurationReceived": "configuration", "campaignDropped": "campaign",
    "messageShown": "campaignId", "messageDismissed": "campaignId", "uploadFinished": "upload",
    "uploadFailed": "error", "eventsDropped": "why, count",
}
