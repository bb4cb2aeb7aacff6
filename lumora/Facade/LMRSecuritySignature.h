#pragma once

// Where a host finds the signature that it hands to the facade.
#include "lumora/Util/LMRSecuritySignature.h"
