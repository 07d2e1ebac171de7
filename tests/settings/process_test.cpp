#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <string>

#include "pattern.h"
#include "settings_fixture.h"
#include "tests/support/child.h"

namespace veltrane::sqlite {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using veltrane::testing::Child;

class SettingsProcess : public SettingsTest {
 protected:
  std::vector<std::string> write(const std::string& prefix, int count, int round) const {
    return {file_.string(), "write", prefix, std::to_string(count), std::to_string(round)};
  }
};

TEST_F(SettingsProcess, SeveralProcessesWriteAtOnce) {
  Child one(SETTINGS_HELPER, write("one", 60, 0));
  Child other(SETTINGS_HELPER, write("other", 60, 0));
  const auto store = openStore();
  for (int i = 0; i < 30; ++i) store->set("mine" + std::to_string(i), static_cast<double>(i));
  EXPECT_THAT(one.lines(), SizeIs(60));
  EXPECT_THAT(other.lines(), SizeIs(60));
  EXPECT_EQ(one.wait(), 0);
  EXPECT_EQ(other.wait(), 0);
  for (int i = 0; i < 60; ++i) {
    for (const std::string prefix : {"one", "other"}) {
      const auto key = prefix + std::to_string(i);
      EXPECT_EQ(textIn(*store, key), pattern(key, 0));
    }
  }
  for (int i = 0; i < 30; ++i) {
    EXPECT_EQ(store->value("mine" + std::to_string(i)), SettingValue(static_cast<double>(i)));
  }
  EXPECT_THAT(console_->take(), IsEmpty());
}

// Whatever moment the kill hits: every acknowledged change is there, whole, and the one that was
// under way is there wholly or not at all.
TEST_F(SettingsProcess, AKilledProcessLosesNothingItHadAcknowledged) {
  constexpr int kWrites = 100;
  std::map<std::string, int> acknowledged;
  for (int round = 0; round < 20; ++round) {
    Child child(SETTINGS_HELPER, write("key", kWrites, round));
    for (int i = 0; i < round * 5 + 1; ++i) {
      const auto key = child.line();
      ASSERT_TRUE(key) << "ended by itself in round " << round;
      acknowledged[*key] = round;
    }
    // Spreads the kills over all phases of the write under way.
    const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(61 * round);
    while (std::chrono::steady_clock::now() < until) {
    }
    child.kill();
    for (const auto& key : child.lines()) acknowledged[key] = round;
    child.wait();

    const auto store = openStore();
    for (int i = 0; i < kWrites; ++i) {
      const auto key = "key" + std::to_string(i);
      const auto text = textIn(*store, key);
      const auto it = acknowledged.find(key);
      const bool asAcknowledged =
          it == acknowledged.end() ? text == "-" : text == pattern(key, it->second);
      EXPECT_TRUE(asAcknowledged || text == pattern(key, round))
          << key << " in round " << round << " is " << text.substr(0, 20);
    }
  }
  EXPECT_THAT(filesNamedLike("damaged"), IsEmpty());
  EXPECT_THAT(console_->take(), IsEmpty());
}

}  // namespace
}  // namespace veltrane::sqlite
