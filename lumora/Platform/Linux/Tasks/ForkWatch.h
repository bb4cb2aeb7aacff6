#pragma once

namespace lumora {

/// From now on every child that this process forks knows that it is one (`isForkedChild`). What a child does
/// before it runs another program costs it one store. Children of `vfork`, `posix_spawn` and a bare `clone`
/// are not told. May be called again.
void watchForks();

}  // namespace lumora
