// An action is reported at the right moment, once, and with its details.
#include <gtest/gtest.h>

#include "Game.h"
#include "lumora/Testing/Host/TestHost.h"

using namespace std::chrono_literals;
using namespace lumora::testing;

TEST(GameTest, reportsALevelWhenItIsDone) {
  TestHost& host = TestHost::start();
  Game game;
  game.start();
  host.advance(90s);
  const lumora::Date done = host.fakes.clock.now();
  game.finishLevel(1, 3);
  host.advance(20s);
  game.finishLevel(1, 2);
  host.upload();

  const auto actions = host.service.uploadedEvents(EventKind::action);
  ASSERT_EQ(actions.size(), 1U);
  EXPECT_EQ(actions[0].name, "level_1_done");
  EXPECT_EQ(actions[0].time, done);
  EXPECT_EQ(actions[0].details.at("stars"), "3");
}
