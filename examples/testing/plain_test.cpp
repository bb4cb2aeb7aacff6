// Without a test framework: the exit status says whether the test passed.
#include <cstdlib>
#include <iostream>

#include "Game.h"
#include "lumora/Testing/Host/TestHost.h"

int main() {
  auto& host = lumora::testing::TestHost::start();
  Game game;
  game.start();
  game.finishLevel(1, 3);
  host.upload();
  for (const std::string& name : host.service.uploadedActions()) std::cout << name << '\n';
  return host.service.uploadedActions().size() == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
