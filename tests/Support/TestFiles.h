#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace lumora::testing {

inline std::string readFile(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

inline void writeFile(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// The permission bits, or 0 when there is nothing at the path.
inline unsigned modeOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0U;
}

/// The names in a folder that begin with the prefix, in alphabetical order.
inline std::vector<std::string> namesIn(const std::string& folder, std::string_view prefix = "") {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::string name = entry.path().filename().string();
    if (name.starts_with(prefix)) names.push_back(std::move(name));
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace lumora::testing
