// A request through NetworkManager against a bare libcurl request over a new TLS connection.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>

#include "bench/ratio_reporter.h"
#include "platform/curl/curl_transport.h"
#include "tests/support/fakes.h"
#include "tests/support/tls_test_server.h"
#include "veltrane/network/network_manager.h"

namespace {

using veltrane::APIBaseURL;
using veltrane::APIEndpoint;
using veltrane::APIHTTPHeader;
using veltrane::Dictionary;
using veltrane::NetworkAPIRequestFor;
using veltrane::NetworkManager;
using veltrane::testing::FakeMainQueue;
using veltrane::testing::MemoryStore;
using veltrane::testing::TlsTestServer;

const APIEndpoint kEvent = veltrane::EventEndpoint{"interaction-1", "company-4711", "c1", "event"};

Dictionary event() {
  return {{"eventName", "submit"},
          {"connectionId", "c1"},
          {"capabilityName", "event"},
          {"id", "b7b8f0a2-4c1d-4a35-9a43-5d7f0b6f7c11"},
          {"parameters", Dictionary{{"username", "somebody@example.org"}, {"agree", true}}}};
}

[[noreturn]] void stop(const char* why) {
  std::fprintf(stderr, "%s\n", why);
  std::exit(1);
}

/// One round through NetworkManager, from describing the request to the callback.
void requestThroughManager() {
  const NetworkAPIRequestFor request(
      {.endpoint = kEvent,
       .headers = {{APIHTTPHeader::authorization("token"), APIHTTPHeader::contentType()}},
       .parameter = event()});
  std::promise<std::size_t> size;
  const auto handle =
      NetworkManager::getRequest(request, [&](std::optional<std::string> body, const auto&) {
        size.set_value(body ? body->size() : 0);
      });
  if (size.get_future().get() == 0) stop("A request through NetworkManager failed.");
}

std::size_t append(char* data, std::size_t size, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

/// What a program without this library would write.
void bareRequest(const std::string& url, const std::string& authority, const std::string& text) {
  std::string body;
  CURL* easy = curl_easy_init();
  curl_slist* headers = curl_slist_append(nullptr, "Authorization: Bearer token");
  headers = curl_slist_append(headers, "Content-Type: application/json");
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_CAINFO, authority.c_str());
  curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_PROXY, "");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(easy, CURLOPT_POSTFIELDS, text.c_str());
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, append);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
  const CURLcode code = curl_easy_perform(easy);
  if (code != CURLE_OK || body.empty()) stop("A bare request failed.");
  curl_slist_free_all(headers);
  curl_easy_cleanup(easy);
}

/// A server with both sides of the comparison against it.
struct Comparison {
  Comparison(const char* name, bool resumes) : server(TlsTestServer::Options{.resumes = resumes}) {
    const std::string target = "/v1" + veltrane::path(kEvent);
    server.answer(target.substr(0, target.find('?')), 200,
                  std::string(1000, ' ') + "{\"success\":1}");
    const auto ours = [this](benchmark::State& state) {
      APIBaseURL::setProduction(server.url("/v1"));
      for (auto _ : state) requestThroughManager();
    };
    const auto bare = [this](benchmark::State& state) {
      const std::string url = server.url("/v1" + veltrane::path(kEvent));
      const std::string authority = server.authorityFile(),
                        text = *veltrane::JSON(event()).serialized();
      for (auto _ : state) bareRequest(url, authority, text);
    };
    const std::string of = name;
    add("manager/" + of, ours);
    add("bare/" + of, bare);
  }

  template <typename Work>
  static void add(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(name.c_str(), work)
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime()
        ->MinTime(0.1);
  }
  std::size_t resumed() const {
    const auto requests = server.requests();
    return static_cast<std::size_t>(std::count_if(
        requests.begin(), requests.end(), [](const auto& request) { return request.resumed; }));
  }

  TlsTestServer server;
};

}  // namespace

int main(int argc, char** argv) {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  Comparison fresh("new_session", false), resumed("resumed", true);
  veltrane::Platform platform;
  platform.mainQueue = std::make_shared<FakeMainQueue>();
  platform.settings = std::make_shared<MemoryStore>();
  platform.transport = veltrane::curl::make({.authorityFile = fresh.server.authorityFile()});
  const veltrane::PlatformScope scope(std::move(platform));
  const int status = veltrane::bench::runPairs(
      argc, argv,
      {{"request over a new TLS session", "manager/new_session", "bare/new_session", 1.05},
       {"request resuming its TLS session", "manager/resumed", "bare/resumed", 0.80}});
  const std::size_t count = resumed.resumed();
  std::printf(
      "%zu of %zu requests to the server with tickets resumed a session, %zu to the other.\n",
      count, resumed.server.requests().size(), fresh.resumed());
  return status;
}
