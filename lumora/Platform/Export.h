#pragma once

/// Marks what the shared library offers to a host; everything else is hidden.
#define LUMORA_EXPORT __attribute__((visibility("default")))
/// Marks what such a class keeps to itself: a function that only the library's own sources call.
#define LUMORA_INTERNAL __attribute__((visibility("hidden")))
