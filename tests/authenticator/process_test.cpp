// Several processes on one store, and ones that are killed.
#include <gmock/gmock.h>

#include <set>
#include <thread>

#include "tests/authenticator/authenticator_test.h"
#include "tests/support/child.h"
#include "veltrane/base/base64.h"

namespace veltrane::authenticator::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using veltrane::testing::Child;

using Processes = AuthenticatorTest;

TEST_F(Processes, MakeAndCountAtTheSameTime) {
  const auto made = valueOf(device_.make(makeRequest("mine")));
  const std::string id = base64URLEncoded(made.id);
  Child making(AUTHENTICATOR_HELPER, {file_, "make", "30", "theirs"});
  Child getting(AUTHENTICATOR_HELPER, {file_, "get", id, "30"});
  std::set<std::uint32_t> counters;
  for (int i = 0; i < 30; ++i) {
    counters.insert(counterOf(valueOf(device_.get(getRequest({made.id}))).authenticatorData));
  }
  for (const auto& line : getting.lines()) {
    counters.insert(static_cast<std::uint32_t>(std::stoul(line)));
  }
  EXPECT_THAT(making.lines(), SizeIs(30));
  EXPECT_EQ(making.wait(), 0);
  EXPECT_EQ(getting.wait(), 0);
  EXPECT_THAT(counters, SizeIs(60));  // none was told twice
  EXPECT_THAT(stored(), SizeIs(31));
  EXPECT_THAT(console_->take(), IsEmpty());
}

// Whatever moment the kill hits, each credential that was answered is there and signs.
TEST_F(Processes, AKilledOneLosesNothingItHasAnswered) {
  std::set<std::string> answered;
  for (int round = 0; round < 10; ++round) {
    Child child(AUTHENTICATOR_HELPER,
                {file_, "make", "100", "round" + std::to_string(round) + "-"});
    for (int i = 0; i <= round; ++i) {
      const auto id = child.line();
      ASSERT_TRUE(id);
      answered.insert(*id);
    }
    child.kill();
    for (const auto& id : child.lines()) answered.insert(id);
    EXPECT_EQ(child.wait(), -SIGKILL);
    std::set<std::string> present;
    for (const auto& entry : stored()) present.insert(base64URLEncoded(entry.id));
    for (const auto& id : answered) EXPECT_TRUE(present.contains(id)) << id;
    // At most the one that was under way came on top.
    EXPECT_LE(present.size(), answered.size() + round + 1);
    valueOf(device_.get(getRequest({*base64URLDecoded(*answered.begin())})));
  }
  EXPECT_THAT(console_->take(), IsEmpty());
}

// A program that is killed while it checks a PIN gives no try back.
TEST_F(Processes, AKilledOneHasSpentItsTry) {
  auto request = makeRequest();
  request.userVerification = Requirement::required;
  // A PIN whose check takes seconds.
  TestDevice slow(file_, {keeperOf('k')}, {.passes = 16, .memoryKiB = 64 * 1024});
  {
    const TestPlatform platform(slow, console_);
    valueOf(slow.make(request));
  }
  CredentialStore store(file_);
  for (int left = 7; left >= 0; --left) {
    Child child(AUTHENTICATOR_HELPER, {file_, "pin", "wrong"});
    while (valueOf(store.lock(LockKind::pin))->triesLeft != left) std::this_thread::yield();
    child.kill();
    EXPECT_EQ(child.wait(), -SIGKILL);
    EXPECT_EQ(valueOf(store.lock(LockKind::pin))->triesLeft, left);
  }
  EXPECT_EQ(errorOf(device_.make(request)).failure, PasskeyFailure::locked);
}

}  // namespace
}  // namespace veltrane::authenticator::testing
