#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "tests/support/tls_test_server.h"

namespace veltrane::webengine::test {

using veltrane::testing::TestConnection;
using veltrane::testing::TestRequest;
using veltrane::testing::TlsTestServer;

inline constexpr const char* kScanPath = "/api/v4/initiate";
inline constexpr const char* kCheckPath = "/api/authentication/v1/web/initiate";
inline constexpr const char* kReference = "3b2f8a4e-0f3c-4f6a-9a57-6f8d5b0c1e2d";

/// A message as the vendor's page posts it.
inline std::string message(std::string_view value, std::string_view code = "",
                           std::string_view reference = kReference) {
  std::string text = R"({"authorizationToken":"page-token","transactionReference":")";
  text += reference;
  text += R"(","customerInternalReference":"customer-1","eventType":510,)";
  text += R"("dateTime":"2024-05-06T07:08:09.123Z","payload":{"value":")";
  text += value;
  text += R"(","metainfo":{"codeExternal":")";
  return text + std::string(code) + R"("}}})";
}

/// A stand-in for a vendor on a loopback port: pages of the test's choosing.
class Vendor {
 public:
  Vendor() {
    server.answer(kScanPath, 200, initiated(server.url("/client")));
    server.answer(kCheckPath, 200, initiated(server.url("/client")));
  }

  static std::string initiated(const std::string& redirectUrl) {
    return R"({"timestamp":"2024-05-06T07:08:09.123Z","transactionReference":")" +
           std::string(kReference) + R"(","redirectUrl":")" + redirectUrl + R"("})";
  }
  /// What the page of the client does, as a script; `post(text)` tells the page around it.
  void page(const std::string& script) {
    html("/client",
         "<!doctype html><body style='background:#dfe'><h1>Vendor</h1><script>"
         "const post = text => parent.postMessage(text, '*');" +
             script + "</script>");
  }
  void html(std::string path, std::string text) {
    server.answer(std::move(path), 200, std::move(text), {{"Content-Type", "text/html"}});
  }
  void script(std::string path, std::string text) {
    server.answer(std::move(path), 200, std::move(text), {{"Content-Type", "text/javascript"}});
  }
  std::string address() const { return server.url(""); }

  TlsTestServer server{{.plain = true}};
};

}  // namespace veltrane::webengine::test
