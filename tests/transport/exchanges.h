#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/curl/curl_transport.h"
#include "tests/support/tls_test_server.h"

namespace veltrane::testing {

using Answer = std::optional<HTTPResponse>;

/// Longer than anything here takes on a busy machine; only a fault waits it out.
inline constexpr auto kPatience = std::chrono::seconds(20);

inline HTTPRequest getFrom(std::string url) {
  return {.method = "GET", .url = std::move(url)};
}

inline HTTPRequest postTo(std::string url, std::string body) {
  return {.method = "POST", .url = std::move(url), .body = std::move(body)};
}

template <typename T>
T resultOf(std::future<T> future) {
  if (future.wait_for(kPatience) != std::future_status::ready) {
    throw std::runtime_error("nothing came in time");
  }
  return future.get();
}

/// An exchange under way and its answer to come.
struct Exchanging {
  std::future<Answer> answer;
  std::unique_ptr<HTTPRequestHandle> handle;
};

inline Exchanging start(HTTPTransport& transport, HTTPRequest request) {
  auto promise = std::make_shared<std::promise<Answer>>();
  auto answer = promise->get_future();
  auto handle = transport.send(
      std::move(request), [promise](Answer response) { promise->set_value(std::move(response)); });
  return {std::move(answer), std::move(handle)};
}

inline Answer fetch(HTTPTransport& transport, HTTPRequest request) {
  auto exchange = start(transport, std::move(request));
  return resultOf(std::move(exchange.answer));
}

inline std::shared_ptr<curl::CurlTransport> transportTrusting(const TlsTestServer& server) {
  return curl::make({.authorityFile = server.authorityFile()});
}

}  // namespace veltrane::testing
