// A host's own test: the library runs on fakes, and its queues run when the test says so.
#include <cstdlib>
#include <iostream>

#include "lumora/Facade/Lumora.h"
#include "lumora/Testing/FakePlatform.h"

int main() {
  auto& fakes = lumora::testing::FakePlatform::install();
  auto& sdk = lumora::Lumora::sharedInstance();
  sdk.initializeWithTarrowID("acme", "s3cret");
  fakes.queues.runAll();

  const lumora::Value account = fakes.settings.object("lmro.Tarrow");
  std::cout << "account: " << account.description() << '\n';
  return account == lumora::Value("acme") ? EXIT_SUCCESS : EXIT_FAILURE;
}
