#pragma once

namespace lumora {

/// A moment as people read it, without its year.
struct LocalTime {
  unsigned month = 1;
  unsigned day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

/// The time in the zone of this process. A forked child may ask too, if the process that it comes from has
/// asked before: it takes the system's lock on the zone's rules only in the process that asked first.
LocalTime currentLocalTime();

}  // namespace lumora
