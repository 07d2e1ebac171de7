#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/sandbox/server.h"
#include "tests/driver/driver_process.h"

namespace veltrane::testing {

/// A folder of the test's own, removed with it.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// What a command of the tool came to.
struct ToolOutcome {
  int status;
  std::string text;
  std::string errors;
};

/// Runs a command in this process. `input`: a descriptor, the caller's.
ToolOutcome runTool(const std::vector<std::string>& arguments, int input = -1);

/// Drives flows that are asked of a sandbox server in this process.
class DriverTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();

  /// Arguments for a flow of the server.
  static std::vector<std::string> arguments(const std::string& flow,
                                            const std::vector<std::string>& more = {});
  static sandbox::Server& server() { return *server_; }

  /// The body of the latest request, an event's.
  static json lastBody();

 private:
  static std::unique_ptr<ScratchFolder> folder_;
  static std::unique_ptr<sandbox::Server> server_;
};

/// Parts of flow files for tests.
namespace flows {

/// A user view of a template, its properties under a name of its own.
struct UserView {
  std::string name;
  std::string screenTemplate;
  json properties;
};

json textField(const std::string& key, json attributes = json::object());
json component(const std::string& type, const std::string& key, json value, json attributes);
/// A property that sends an event by that name.
json postEvent(const std::string& name);

json document(const std::vector<UserView>& views);
/// The text of a flow file.
std::string file(const json& start, const json& events = json::object());

/// Two steps: who it is ("who"), then the secret ("secret"). "carol" is the name and "wine-dark"
/// the password; another password is an error.
std::string signIn();
/// A start that is never answered.
std::string silent();
/// One screen with a field; its event is never answered.
std::string silentEvent();

}  // namespace flows
}  // namespace veltrane::testing
