#include <gtest/gtest.h>

#include <random>

#include "tests/core/host.h"

namespace veltrane {
namespace {

TEST(DictionaryMerge, leavesWhatSettingOneAfterTheOtherLeaves) {
  std::mt19937 random(7);
  Dictionary set{{"kept", 1}, {"12", "old"}}, merged = set;
  std::vector<Dictionary::Entry> entries;
  for (int i = 0; i < 500; ++i) {
    entries.emplace_back(std::to_string(random() % 300), JSON(i));
    set.set(entries.back().first, entries.back().second);
  }
  merged.merge(entries);
  EXPECT_EQ(merged, set);
  merged.merge({});
  EXPECT_EQ(merged, set);
}

class ManyRows : public testing::Host {};

TEST_F(ManyRows, thatTellTheirValuesAreAllSentAndTheLastOfAKeyCounts) {
  const std::string list = testing::component("toggleSwitch", "b", "false") + "," +
                           testing::component("toggleSwitch", "a", "false") + "," +
                           testing::component("toggleSwitch", "c", "false") + "," +
                           testing::component("toggleSwitch", "a", "true");
  open(testing::document(R"("screenComponentList":{"value":[)" + list + "]}," + testing::kButton +
                         "," + testing::kPostEvent));
  press();
  EXPECT_EQ(sent()["parameters"].serialized(), R"({"a":true,"b":false,"c":false})");
}

}  // namespace
}  // namespace veltrane
