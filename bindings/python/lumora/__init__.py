"""Lumora, the client library of a marketing-automation service: `Lumora.shared_instance()` is its entry point."""
from ._enums import (
    ApplicationState, Consent, LogDestination, LogDetail, LumoraEventLoss, Operation, Reason, WaitingEvents)
from ._native import (
    Alert, Configuration, DroppedCampaign, Failure, LMRSecuritySignature, LocalNotification, Lumora,
    LumoraActionMetaData, LumoraError, LumoraKeeper, LumoraLead, LumoraObserver, LumoraStatus, NotificationRequest,
    Upload)
from ._platform import LinuxPlatform

__all__ = [
    "Alert", "ApplicationState", "Configuration", "Consent", "DroppedCampaign", "Failure", "LMRSecuritySignature",
    "LinuxPlatform", "LocalNotification", "LogDestination", "LogDetail", "Lumora", "LumoraActionMetaData", "LumoraError",
    "LumoraEventLoss", "LumoraKeeper", "LumoraLead", "LumoraObserver", "LumoraStatus", "NotificationRequest", "Operation",
    "Reason", "Upload", "WaitingEvents",
]
