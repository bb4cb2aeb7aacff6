#pragma once

/// Marks what the shared library offers to a host; everything else is hidden.
#define LUMORA_EXPORT __attribute__((visibility("default")))
