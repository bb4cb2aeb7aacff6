"""The library's enumerations, made of the constants that SWIG gives."""
import enum
import re

from . import _native


def _enumeration(name, owner=_native):
    members = {
        re.sub(r"(?<=[a-z])(?=[A-Z])", "_", key[len(name) + 1:]).upper(): value
        for key, value in vars(owner).items() if key.startswith(name + "_")
    }
    return enum.IntEnum(name, members, module="lumora")


Reason = _enumeration("Reason", _native.LumoraError)
Operation = _enumeration("Operation", _native.LumoraStatus)
LumoraEventLoss = _enumeration("LumoraEventLoss")
Consent = _enumeration("Consent")
WaitingEvents = _enumeration("WaitingEvents")
ApplicationState = _enumeration("ApplicationState")
LogDestination = _enumeration("LogDestination")
LogDetail = _enumeration("LogDetail")
