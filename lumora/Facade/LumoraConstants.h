#pragma once

// Where a host finds the constants.
#include "lumora/Util/LumoraConstants.h"
