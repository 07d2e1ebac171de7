#include <csignal>
#include <fstream>

#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::HasSubstr;

TEST(Serve, SaysWhereItIsAndAnswersUntilASignal) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.path() / "flows");
  std::ofstream(folder.path() / "flows/mine.json") << flows::signIn();
  const auto state = (folder.path() / "state").string();
  DriverProcess serve(
      {"serve", "--json", "--state", state, "--flows", (folder.path() / "flows").string()});
  const auto ready = json::parse(serve.line());
  EXPECT_EQ(ready.at("flows"), json::array({"mine"}));

  DriverProcess driver({"drive", "--company", "acme", "--flow", "mine", "--base-url",
                        ready.at("baseURL"), "--ca", ready.at("authority")});
  EXPECT_EQ(driver.untilScreen().at("title"), "Sign in");
  EXPECT_THAT(serve.errors(), HasSubstr("/v1/auth/acme/flows/mine/start"));
  serve.signal(SIGTERM);
  EXPECT_EQ(serve.wait(), 0);
}

TEST(Serve, SpeaksPlainlyByDefaultAndKeepsItsAuthority) {
  const ScratchFolder folder;
  const std::vector<std::string> environment = {"XDG_STATE_HOME=" + folder.path().string()};
  std::string authority;
  for (int run = 0; run < 2; ++run) {
    DriverProcess serve({"serve"}, environment);
    const auto ready = serve.line();
    EXPECT_THAT(ready, ::testing::StartsWith("ready https://localhost:"));
    const auto named = ready.substr(ready.find(" authority ") + 11);
    std::ifstream file(named);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    EXPECT_THAT(text, HasSubstr("BEGIN CERTIFICATE"));
    if (run == 0) authority = text;
    EXPECT_EQ(text, authority);
    serve.signal(SIGINT);
    EXPECT_EQ(serve.wait(), 0);
  }
}

TEST(Serve, AWrongFlowFileIsNamedAndNothingStarts) {
  const ScratchFolder folder;
  std::ofstream(folder.path() / "broken.json") << "{";
  DriverProcess serve(
      {"serve", "--state", (folder.path() / "state").string(), "--flows", folder.path().string()});
  EXPECT_NE(serve.wait(), 0);
  EXPECT_THAT(serve.errors(), HasSubstr("broken"));
}

}  // namespace
}  // namespace veltrane::testing
