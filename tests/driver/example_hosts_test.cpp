#ifdef VTFLOW_HAS_WINDOW
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>

#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Outcome {
  int status;
  std::string text;  ///< What the program wrote, on either stream.
};

Outcome runHost(const std::string& program, const std::string& display,
                const std::string& arguments) {
  const auto command =
      "env DISPLAY= WAYLAND_DISPLAY= " + display + ' ' + program + ' ' + arguments + " 2>&1";
  FILE* const output = popen(command.c_str(), "r");
  if (!output) return {-1, "popen"};
  Outcome outcome{};
  char buffer[4096];
  for (std::size_t count = 0; (count = fread(buffer, 1, sizeof buffer, output)) > 0;) {
    outcome.text.append(buffer, count);
  }
  const int status = pclose(output);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

/// The hosts that come as examples: whoever tries them must see what is the matter.
class ExampleHost : public DriverTest, public ::testing::WithParamInterface<const char*> {
 protected:
  static constexpr const char* kMemory = "QT_QPA_PLATFORM=offscreen";

  static Outcome run(const std::string& display, const std::string& arguments) {
    const auto outcome = runHost(GetParam(), display, arguments);
    EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 1) << outcome.text;
    return outcome;
  }
  static std::string name() { return std::filesystem::path(GetParam()).filename(); }
  static std::string authority() { return server().authorityFile().string(); }
};

TEST_P(ExampleHost, NamesWhatItCannotUse) {
  const auto refused = run(kMemory, "http://host.example/v1 " + authority());
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.text, StartsWith(name() + ": \"http://host.example/v1\" is no https URL"));
  const auto unread = run(kMemory, server().baseURL() + " /nowhere/at/all.pem");
  EXPECT_EQ(unread.status, 2);
  EXPECT_THAT(unread.text, HasSubstr("/nowhere/at/all.pem"));
  const auto bare = run(kMemory, "");
  EXPECT_EQ(bare.status, 2);
  EXPECT_THAT(bare.text, StartsWith("usage: " + name()));
}

TEST_P(ExampleHost, SaysThatThereIsNoDisplay) {
  const auto outcome = run("QT_QPA_PLATFORM=", server().baseURL() + ' ' + authority());
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.text, StartsWith(name() + ": there is no display; "));
}

TEST_P(ExampleHost, TellsItsOutcomeAndNothingElse) {
  // The server has no flow of the name that the hosts ask for.
  const auto outcome = run(kMemory, server().baseURL() + ' ' + authority());
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.text, EndsWith("There is no flow \"two-step-sign-in\".\n"));
}

INSTANTIATE_TEST_SUITE_P(Both, ExampleHost, ::testing::Values(CPP_HOST, QML_HOST),
                         [](const auto& host) { return host.index == 0 ? "cpp" : "qml"; });

}  // namespace
}  // namespace veltrane::testing
#endif
