#include <fstream>

#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::HasSubstr;

class Options : public DriverTest {};

std::string consoleText(const DriverProcess& driver) {
  std::string text;
  for (const auto& event : driver.events("console")) text += event.value("line", "") + '\n';
  return text;
}

TEST_F(Options, PropsAreTheBodyOfTheFirstRequest) {
  DriverProcess driver(
      arguments("sign-in", {"--prop", "number=2.5", "--prop", "list=[1,\"a\"]", "--prop",
                            "text=plain text", "--prop", "equals=a=b", "--prop", "empty=", "--prop",
                            "nothing=null", "--prop", "number=7", "--prop", "broken={\"a\":"}));
  driver.untilScreen();
  EXPECT_EQ(lastBody(), json({{"number", 7},
                              {"list", {1, "a"}},
                              {"text", "plain text"},
                              {"equals", "a=b"},
                              {"empty", ""},
                              {"nothing", nullptr},
                              {"broken", "{\"a\":"}}));
}

TEST_F(Options, TheNamedServerIsAsked) {
  const auto base = server().baseURL();
  const auto authority = server().authorityFile().string();
  const std::vector<std::string> start = {"drive",   "--company", "acme",   "--flow",
                                          "sign-in", "--ca",      authority};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.begin(), start.begin(), start.end());
    return more;
  };
  const std::string nowhere = "https://localhost:1/v1";
  DriverProcess sandboxed(with({"--sandbox", "--production-url", nowhere, "--sandbox-url", base}));
  sandboxed.untilScreen();
  DriverProcess production(with({"--base-url", nowhere, "--production-url", base + "/"}));
  production.untilScreen();
  DriverProcess wrong(with({"--base-url", nowhere}));
  EXPECT_EQ(wrong.wait(), 1);
  EXPECT_THAT(consoleText(wrong), HasSubstr("No response from https://localhost:1: "));
  EXPECT_THAT(consoleText(wrong), HasSubstr("connect"));
}

TEST_F(Options, OnlyTheNamedAuthorityIsTrusted) {
  DriverProcess driver(
      {"drive", "--company", "acme", "--flow", "sign-in", "--base-url", server().baseURL()});
  EXPECT_EQ(driver.wait(), 1);
  EXPECT_TRUE(driver.events("answer").front().at("status").is_null());
  EXPECT_THAT(consoleText(driver), HasSubstr("certificate"));
}

TEST_F(Options, AStoreOutlivesTheRun) {
  const ScratchFolder folder;
  const auto store = (folder.path() / "settings.db").string();
  DriverProcess first(arguments("sign-in", {"--store", store, "--access-token", "kept"}));
  first.closeInput();
  first.wait();
  DriverProcess second(arguments("sign-in", {"--store", store}));
  second.untilScreen();
  EXPECT_EQ(server().requests().back().header("Authorization"), "Bearer kept");
  DriverProcess fresh(arguments("sign-in"));
  fresh.untilScreen();
  EXPECT_NE(server().requests().back().header("Authorization"), "Bearer kept");
}

TEST_F(Options, ADamagedStoreIsToldAndTheFlowGoesOn) {
  const ScratchFolder folder;
  const auto store = (folder.path() / "settings.db").string();
  std::ofstream(store) << "SQLite format 3" << '\0' << std::string(5000, 'x');
  DriverProcess driver(arguments("sign-in", {"--store", store}));
  driver.untilScreen();
  EXPECT_EQ(driver.events().front().at("event"), "hello");
  EXPECT_THAT(consoleText(driver), HasSubstr("settings.db.damaged-1"));
  EXPECT_TRUE(std::filesystem::exists(store + ".damaged-1"));
  EXPECT_EQ(driver.errors(), "");
}

TEST_F(Options, TheThemeColoursWhatTheServerLeavesOpen) {
  DriverProcess driver(arguments(
      "sign-in", {"--theme", "backgroundColor=#102030", "--theme", "buttonTextColor=FFF"}));
  const auto screen = driver.untilScreen();
  EXPECT_EQ(screen.at("background"), "#102030ff");
  const auto& button = screen.at("rows").back();
  EXPECT_EQ(button.at("titleColor"), "#ffffffff");
  EXPECT_EQ(button.at("background"), "#99c852ff");

  DriverProcess plain(arguments("sign-in"));
  EXPECT_TRUE(plain.untilScreen().at("background").is_null());
}

}  // namespace
}  // namespace veltrane::testing
