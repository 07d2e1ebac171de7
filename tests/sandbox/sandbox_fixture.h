#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

#include "apps/sandbox/server.h"

namespace veltrane::sandbox::test {

using nlohmann::json;

/// A folder of its own, gone with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "sandbox-XXXXXX").string();
    if (!::mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

inline httplib::Headers goodHeaders() {
  return {{"Authorization", "Bearer some-token"},
          {"vt-agent", "ios, sdkVersion: 0.0.1, OSVersion: 14.4.0"},
          {"Content-Type", "application/json"}};
}

/// What goes over the line for one request; tests spoil one thing of it.
struct Request {
  std::string method = "POST";
  std::string path;
  std::string body;
  httplib::Headers headers = goodHeaders();
};

/// A server with a flow "shop" of one document, and a client that trusts it.
class SandboxTest : public testing::Test {
 protected:
  SandboxTest() { start({}); }

  void start(ServerOptions options) {
    options.stateFolder = folder_.path() / "state";
    server = std::make_unique<Server>(std::move(options));
    server->addFlow("shop", R"({
      "start": {"id": "doc-1", "companyId": "${companyId}", "flowId": "${flowId}",
                "connectionId": "conn-1", "capabilityName": "buy",
                "interactionId": "${interactionId}", "screen": {"userViews": []}},
      "events": {"pay": [{"answer": {"success": 1}}]}})");
  }

  std::unique_ptr<httplib::SSLClient> client() const {
    auto client = std::make_unique<httplib::SSLClient>("localhost", server->port());
    client->set_ca_cert_path(server->authorityFile().c_str());
    client->enable_server_certificate_verification(true);
    client->set_read_timeout(30);
    return client;
  }

  httplib::Result send(const Request& request) const {
    httplib::Request wire;
    wire.method = request.method;
    wire.path = request.path;
    wire.headers = request.headers;
    wire.body = request.body;
    return client()->send(wire);
  }

  static Request startOf(const std::string& flow, const std::string& body = "") {
    return {.path = "/v1/auth/acme/flows/" + flow + "/start", .body = body};
  }

  /// A right event "pay" of a run of "shop".
  Request goodEvent() const {
    const auto answer = send(startOf("shop"));
    const json document = json::parse(answer->body);
    const std::string interaction = document["interactionId"];
    return {
        .path = "/v1/auth/acme/connections/conn-1/capabilities/buy?interactionId=" + interaction,
        .body = goodBody().dump()};
  }

  static json goodBody() {
    return {{"eventName", "pay"},
            {"connectionId", "conn-1"},
            {"capabilityName", "buy"},
            {"id", "doc-1"},
            {"parameters", json::object()}};
  }

  /// Starts a flow that answers its start with this rule.
  httplib::Result answerOf(const std::string& rule) {
    server->addFlow("rule", R"({"start": [)" + rule + "]}");
    return send(startOf("rule"));
  }

  TemporaryFolder folder_;
  std::unique_ptr<Server> server;
};

}  // namespace veltrane::sandbox::test
