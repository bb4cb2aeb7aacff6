// A database file that somebody else has written, or a disk has damaged.

#include <filesystem>
#include <fstream>

#include "fuzz/FuzzedLibrary.h"
#include "lumora/Storage/LMRDataManager.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  namespace fs = std::filesystem;
  auto& host = lumora::fuzz::initializedLibrary();
  const fs::path folder = host.files.documentsDirectory();
  for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry);
  std::ofstream(folder / "ostrelab.sqlite", std::ios::binary) << lumora::fuzz::textOf(data, size);
  lumora::Lumora::sharedInstance().reportAction("fuzzed", nullptr);
  lumora::fuzz::settle(host);
  lumora::Lumora::sharedInstance().reportAll();
  lumora::Lumora::sharedInstance().appWillEnterForeground();
  lumora::fuzz::settle(host);
  return 0;
}
