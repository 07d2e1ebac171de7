#include <gmock/gmock.h>

#include <future>
#include <mutex>

#include "platform/curl/curl_transport.h"

namespace veltrane::testing {
namespace {

// The loader's search path has this test's own libcurl.so.4 in front, which has no function at all.
TEST(WithoutLibcurl, EveryRequestEndsAndSaysWhyAndTheTransportEndsToo) {
  std::mutex mutex;
  std::vector<std::string> lines;
  const auto transport = curl::make({.report = [&](const std::string& line) {
    std::lock_guard lock(mutex);
    lines.push_back(line);
  }});
  for (int i = 0; i < 2; ++i) {
    std::promise<bool> answered;
    const auto handle =
        transport->send({.method = "GET", .url = "https://127.0.0.1:1/"},
                        [&](const auto& response) { answered.set_value(response.has_value()); });
    EXPECT_FALSE(answered.get_future().get());
  }
  EXPECT_TRUE(transport->tasks().empty());
  EXPECT_THAT(lines, ::testing::ElementsAre(::testing::HasSubstr("curl_global_init"),
                                            ::testing::HasSubstr("curl_global_init")));
}

}  // namespace
}  // namespace veltrane::testing
