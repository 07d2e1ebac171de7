#include "tests/driver/driver_test.h"

#include <cstdlib>
#include <sstream>
#include <system_error>
#include <utility>

#include "apps/vtflow/tool.h"

namespace veltrane::testing {

ScratchFolder::ScratchFolder() {
  auto name = (std::filesystem::temp_directory_path() / "driver-test-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), name);
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

ToolOutcome runTool(const std::vector<std::string>& arguments, int input) {
  std::vector<const char*> words = {"vtflow"};
  for (const std::string& word : arguments) words.push_back(word.c_str());
  std::ostringstream text;
  std::ostringstream errors;
  const int status = tool::runTool(static_cast<int>(words.size()), words.data(),
                                   {.input = input, .output = -1, .text = text, .errors = errors});
  return {status, text.str(), errors.str()};
}

std::unique_ptr<ScratchFolder> DriverTest::folder_;
std::unique_ptr<sandbox::Server> DriverTest::server_;

void DriverTest::SetUpTestSuite() {
  folder_ = std::make_unique<ScratchFolder>();
  server_ = std::make_unique<sandbox::Server>(
      sandbox::ServerOptions{.stateFolder = folder_->path() / "state"});
  server_->addFlow("sign-in", flows::signIn());
  server_->addFlow("silent", flows::silent());
  server_->addFlow("silent-event", flows::silentEvent());
}

void DriverTest::TearDownTestSuite() {
  server_.reset();
  folder_.reset();
}

std::vector<std::string> DriverTest::arguments(const std::string& flow,
                                               const std::vector<std::string>& more) {
  std::vector<std::string> all = {"drive",
                                  "--company",
                                  "acme",
                                  "--flow",
                                  flow,
                                  "--base-url",
                                  server().baseURL(),
                                  "--ca",
                                  server().authorityFile().string()};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

json DriverTest::lastBody() {
  const auto requests = server().requests();
  return requests.empty() ? json() : json::parse(requests.back().body);
}

namespace flows {

json component(const std::string& type, const std::string& key, json value, json attributes) {
  return {{"preferredControlType", type},
          {"propertyName", key},
          {"value", std::move(value)},
          {"attributes", std::move(attributes)}};
}

json textField(const std::string& key, json attributes) {
  return component("textField", key, "", std::move(attributes));
}

json postEvent(const std::string& name) {
  return {{"constructType", "vtEvent"}, {"eventType", "post"}, {"eventName", name}};
}

json document(const std::vector<UserView>& views) {
  json userViews = json::array();
  json properties = json::object();
  for (const auto& view : views) {
    userViews.push_back(
        {{"screenTemplateName", view.screenTemplate}, {"screenConfigName", view.name}});
    properties[view.name] = {{"properties", view.properties}};
  }
  return {{"id", "document"},
          {"companyId", "${companyId}"},
          {"flowId", "${flowId}"},
          {"connectionId", "password-1"},
          {"capabilityName", "loginPassword"},
          {"interactionId", "${interactionId}"},
          {"screen", {{"userViews", userViews}, {"properties", properties}}}};
}

std::string file(const json& start, const json& events) {
  return json{{"start", start}, {"events", events}}.dump();
}

std::string signIn() {
  const json who = {
      {"title", {{"value", "Sign in"}}},
      {"navTitle", {{"value", "Acme"}}},
      {"screenComponentList",
       {{"value",
         json::array({textField("username",
                                {{"displayName", "User name"}, {"keyboardType", "emailAddress"}}),
                      component("toggleSwitch", "remember", true, {{"displayName", "Remember me"}}),
                      component("dropdown", "language", "",
                                {{"displayName", "Language"},
                                 {"options", json::array({"English", "Suomi", 5, true})}})})}}},
      {"nextButtonText", {{"value", "Next"}}},
      {"nextEvent", postEvent("who")}};
  const json secret = {
      {"title", {{"value", "Password"}}},
      {"screenComponentList",
       {{"value", json::array({textField(
                      "password", {{"displayName", "Password"}, {"hashedVisibility", true}})})}}},
      {"nextButtonText", {{"value", "Sign in"}}},
      {"nextEvent", postEvent("secret")}};
  const json known = {{"success", 1}};
  const json signedIn = {{"success", 1}, {"access_token", "token-of-carol"}, {"user", "carol"}};
  const json wrong = {
      {"success", 0}, {"message", "Wrong password."}, {"code", 4011}, {"httpResponseCode", 401}};
  return file(
      document({{"who", "UsernameScreenTemplate", who}, {"secret", "ScreenTemplate1", secret}}),
      {{"who", json::array({json{{"answer", known}}})},
       {"secret",
        json::array({json{{"when", {{"parameters.password", "wine-dark"}}}, {"answer", signedIn}},
                     json{{"answer", wrong}}})}});
}

std::string silent() {
  const json rule = {{"trouble", {{"noAnswer", true}}}};
  return file(json::array({rule}));
}

std::string silentEvent() {
  const json view = {{"screenComponentList", {{"value", json::array({textField("name")})}}},
                     {"nextButtonText", {{"value", "Next"}}},
                     {"nextEvent", postEvent("name")}};
  const json rule = {{"trouble", {{"noAnswer", true}}}};
  return file(document({{"view", "ScreenTemplate1", view}}), {{"name", json::array({rule})}});
}

}  // namespace flows
}  // namespace veltrane::testing
