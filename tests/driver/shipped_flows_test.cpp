#include <fstream>

#include "tests/driver/driver_test.h"
#include "tests/driver/face_clip.h"

namespace veltrane::testing {
namespace {

std::vector<std::filesystem::path> shippedFlows() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(sandbox::shippedFlowsFolder())) {
    if (entry.path().extension() == ".json") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string testName(const ::testing::TestParamInfo<std::filesystem::path>& info) {
  auto name = info.param.stem().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
}

json contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return json::parse(stream);
}

/// Each flow that comes with the server says how it is driven and how it ends.
class ShippedFlow : public ::testing::TestWithParam<std::filesystem::path> {
 protected:
  void drive(const std::filesystem::path& file) const {
    const json flow = contentOf(file);
    std::vector<std::string> arguments = {"drive",
                                          "--company",
                                          "acme",
                                          "--flow",
                                          file.stem(),
                                          "--base-url",
                                          server_.baseURL(),
                                          "--ca",
                                          server_.authorityFile(),
                                          "--credentials",
                                          folder_.path() / "passkeys.db"};
    if (flow.contains("needs")) {
      writeClip(folder_.path() / "clip");
      arguments.insert(arguments.end(), {"--camera", folder_.path() / "clip"});
    }
    DriverProcess driver(arguments);
    for (const auto& command : flow.value("demo", json::array())) driver.send(command);
    driver.closeInput();
    const auto expected = flow.value("expect", json::object());
    EXPECT_EQ(driver.wait(), expected.value("exit", 0)) << driver.output();
    EXPECT_TRUE(driver.events("refused").empty()) << driver.output();
    const auto results = driver.events("result");
    for (const char* const field : {"reason", "message", "code"}) {
      if (!expected.contains(field)) continue;
      ASSERT_EQ(results.size(), 1);
      EXPECT_EQ(results.front().at("error").at(field), expected.at(field));
    }
  }

 private:
  const ScratchFolder folder_;
  const sandbox::Server server_{
      {.stateFolder = folder_.path(), .flowsFolder = sandbox::shippedFlowsFolder()}};
};

TEST_P(ShippedFlow, EndsAsItsFileSays) {
  const auto& file = GetParam();
  const json flow = contentOf(file);
  if (flow.contains("after")) {
    drive(file.parent_path() / (flow["after"].get<std::string>() + ".json"));
  }
  drive(file);
}

INSTANTIATE_TEST_SUITE_P(All, ShippedFlow, ::testing::ValuesIn(shippedFlows()), testName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ShippedFlow);

}  // namespace
}  // namespace veltrane::testing
