// A message is shown by the action that it waits for, and a tap on its button opens the game's shop.
#include <gtest/gtest.h>

#include "Game.h"
#include "lumora/Testing/Host/TestHost.h"

using namespace lumora::testing;

TEST(GameTest, offersTheShopAfterTheSecondLevel) {
  TestHost& host = TestHost::start();
  Game game;
  game.start();
  host.run();
  host.offerCampaign(SampleCampaign{.id = "shop", .trigger = "level_2_done", .link = "game://shop"});

  game.finishLevel(1, 3);
  host.run();
  EXPECT_EQ(host.screen.campaign(), "");
  game.finishLevel(2, 3);
  host.run();
  EXPECT_EQ(host.screen.campaign(), "shop");

  host.tap("primary_button");
  EXPECT_EQ(host.screen.campaign(), "");
  EXPECT_EQ(host.fakes.application.openedURLs().at(0).absoluteString(), "game://shop");
  host.upload();
  EXPECT_EQ(host.service.uploadedEvents(EventKind::messageTap).at(0).campaign, "shop");
}
