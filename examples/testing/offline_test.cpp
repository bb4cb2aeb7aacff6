// What is reported without a network is kept, in its order, until the service can be reached.
#include <gtest/gtest.h>

#include "Game.h"
#include "lumora/Testing/Host/TestHost.h"

using namespace std::chrono_literals;
using namespace lumora::testing;

TEST(GameTest, keepsLevelsThatAreDoneOffline) {
  TestHost& host = TestHost::start();
  Game game;
  game.start();
  host.run();

  host.service.goOffline();
  game.finishLevel(1, 3);
  host.advance(1h);
  game.finishLevel(2, 1);
  host.enterBackground();
  EXPECT_EQ(host.service.uploadedActions(), std::vector<std::string>{});

  host.service.goOnline();
  host.advance(8h);
  host.enterForeground();
  EXPECT_EQ(host.service.uploadedActions(), (std::vector<std::string>{"level_1_done", "level_2_done"}));
}
