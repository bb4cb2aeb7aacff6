// Finds what lies beside the program. CMakeLists.txt puts it there.
#include "service/StudioFiles.h"

#include <filesystem>
#include <initializer_list>

namespace lumora::service {
namespace {

namespace fs = std::filesystem;

/// The first of these, as seen from the program's folder, that is there; the last one otherwise.
std::string firstOf(std::initializer_list<const char*> places) {
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  fs::path place;
  for (const char* const candidate : places) {
    place = (folder / candidate).lexically_normal();
    if (fs::exists(place, error)) break;
  }
  return place.string();
}

}  // namespace

std::string hostBesideProgram() {
  return firstOf({"lumora-host", "../hosts/terminal/lumora-host"});
}

std::string studioPageDirectory() {
  return firstOf({"studio", LUMORA_SERVICE_INSTALLED_RESOURCES "/studio"});
}

std::string messagePageFile() {
  return firstOf({"resources/LMRResources.bundle/LMRInApp.html",
                  LUMORA_SERVICE_INSTALLED_RESOURCES "/LMRResources.bundle/LMRInApp.html"});
}

}  // namespace lumora::service
