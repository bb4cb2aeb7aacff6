#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"
#include "lumora/Platform/URLLoader.h"

namespace lumora {

/// A `CurlURLLoader`. Null, with a line, where libcurl cannot be loaded.
///
/// A program that is linked with the archive holds libcurl itself. The shared library takes it from a module
/// beside it, so that a process before its first request maps neither libcurl nor the libraries below it.
std::unique_ptr<URLLoader> makeCurlURLLoader(const std::string& certificateAuthorityFile,
                                             const std::string& connectTo);

/// What the module calls of the library: there is one process, and one end of it, for both. Besides, what is
/// not worth a second copy.
struct ProcessFunctions {
  bool (*isForkedChild)() noexcept;
  void (*watch)();
  bool (*hasBegun)() noexcept;
  bool (*refusesTransfers)() noexcept;
  int (*descriptor)();
  void (*begin)(ProcessEnd::Work work) noexcept;
  void (*finish)(ProcessEnd::Work work, std::size_t count) noexcept;
  std::optional<std::vector<std::string>> (*namesIn)(const std::string& folder);
};

/// How the module names its function; who calls it owns the loader.
inline constexpr const char* makeURLLoaderSymbol = "lumoraMakeURLLoader";
using MakeURLLoaderFunction = URLLoader*(const ProcessFunctions& process,
                                         const std::string& certificateAuthorityFile,
                                         const std::string& connectTo);

}  // namespace lumora
