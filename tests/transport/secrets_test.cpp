#include <gmock/gmock.h>

#include "tests/support/child.h"
#include "tests/support/memory_search.h"
#include "tests/transport/exchanges.h"
#include "veltrane/base/secret.h"

namespace veltrane::testing {
namespace {

const std::string& planted() {
  static const std::string turned = "ecaf-s'nosrep-a-si-siht";  // as it is searched
  return turned;
}

std::string body(std::size_t size) {
  std::string text;
  text.reserve(size + planted().size());
  while (text.size() < size) text.append(planted().rbegin(), planted().rend());
  return text;
}

TEST(Bodies, LeaveNoMoreInMemoryOnceTheyAreSentThanLibcurlsBuffers) {
  Child server(SERVING_HELPER, {});
  const std::string authority = server.line().value();
  auto request = postTo(server.line().value(), body(1'300'000));
  const auto size = std::to_string(request.body->size());
  EXPECT_GT(countInMemory(planted()), 50'000) << "the search does search";
  const auto transport = curl::make({.authorityFile = authority});
  auto exchange = start(*transport, std::move(request));
  const auto answer = resultOf(std::move(exchange.answer));
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body, size);
  EXPECT_LE(countInMemory(planted()), (64 << 10) / std::ssize(planted()));
  EXPECT_EQ(server.wait(), 0);
}

TEST(Bodies, LeaveNothingInMemoryWhenTheTransportGoesBeforeItsTurn) {
  auto transport = curl::make({.headStart = std::chrono::hours(1)});
  const auto kept = start(*transport, postTo("https://localhost/", body(1'000)));
  auto dropped = start(*transport, postTo("https://localhost/", body(1'000)));
  EXPECT_GT(countInMemory(planted()), 0) << "the search does search";
  dropped.handle.reset();
  transport.reset();
  EXPECT_EQ(countInMemory(planted()), 0);
}

}  // namespace
}  // namespace veltrane::testing
