// A URL that another application opens in the host, and the person's answer to its prompt.

#include "fuzz/FuzzedLibrary.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  auto& host = lumora::fuzz::initializedLibrary();
  const std::string text = lumora::fuzz::textOf(data, size);
  auto& facade = lumora::Lumora::sharedInstance();
  if (const auto url = lumora::URL::parse(text); url && facade.applicationOpenURL(*url)) {
    host.urlLoader.enqueue(200, R"({"success":true})");
    facade.alertViewClickedButtonAtIndex(101, 1, text);
  }
  lumora::fuzz::settle(host);
  return 0;
}
