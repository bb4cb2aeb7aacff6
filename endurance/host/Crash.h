#pragma once

namespace endurance {

/// From now on a crash of this process prints, on standard output, "crashed in " and the file of the library
/// whose doing it is, or of this program: the innermost one that is none of the system's own.
void tellWhoCrashes();

}  // namespace endurance
