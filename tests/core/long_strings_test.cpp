#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "veltrane/base/json.h"
#include "veltrane/base/long_strings.h"

namespace veltrane::testing {
namespace {

/// The library that reads every character is the judge.
void expectAsReadInFull(const std::string& text) {
  const auto result = JSON::parse(text);
  const auto judge = nlohmann::json::parse(text, nullptr, false);
  ASSERT_EQ(result.ok(), !judge.is_discarded()) << text.substr(0, 200);
  if (result.ok()) {
    EXPECT_EQ(result.value.serialized(), judge.dump());
  }
}

const std::string kLong(10'000, 'A');

TEST(LongStrings, valuesAreReadAsIfEveryCharacterHadBeenLookedAt) {
  const std::string blanks(10'000, ' ');
  const std::string numbers = [] {
    std::string list = "1";
    while (list.size() < 12'000) list += ",23";
    return list;
  }();
  const std::string beginnings[] = {
      R"({"a":")" + kLong + R"(","b":[")" + kLong + "1\" , \"" + kLong + R"(2"],"c":"x"})",
      "[\"" + kLong + kLong + "\"" + blanks + "]",
      R"({")" + kLong + kLong + R"(":")" + kLong + R"("})",
      "[[" + numbers + "],\"" + kLong + "\",[" + numbers + "],\"\"," + blanks + numbers + "]",
      "[\"" + kLong + "\\n" + kLong + "\",\"\\\"" + kLong + "\"]",
      "[\"\xC3\xA9" + kLong + "\",\"" + kLong + "\xC3\xA9\"," + blanks + "\"" + kLong + "\"]",
      "[\"" + kLong + "\t" + kLong + "\"]",
      "[\"" + kLong + "\x7F" + kLong + "\"]",
      "[\"" + kLong + "\xFF" + kLong + "\"]",
      "[\"a\"" + kLong + kLong + "\",1]",
      "[\"" + kLong + kLong,
      "[\"" + kLong + kLong + "\"",
      "\"" + kLong + kLong + "\"",
      "[\"" + kLong + "\"\"" + kLong + "\"]",
      "{\"a\"" + blanks + ":\"" + kLong + kLong + "\"" + blanks + "}",
  };
  for (const auto& text : beginnings) expectAsReadInFull(text);
}

TEST(LongStrings, soAreTextsThatWereDamagedAnywhere) {
  std::mt19937 random(7);
  const auto below = [&](std::size_t n) { return random() % n; };
  const std::string plain = R"({"a":{"value":")" + kLong + R"("},"b":[1,")" + kLong + kLong +
                            R"(",{"c":")" + kLong + R"("}],"d":"e"})";
  constexpr std::string_view kDamage = "\"\"\"\\,:]}{[ x\xC3";
  for (int round = 0; round < 100; ++round) {
    std::string text = plain;
    for (auto wounds = 1 + below(3); wounds > 0; --wounds) {
      // Near a quote, where it hurts most.
      auto at = text.find('"', below(text.size()));
      at = at == std::string::npos ? below(text.size()) : at + below(3);
      if (below(2) == 0) {
        text.insert(std::min(at, text.size()), 1, kDamage[below(kDamage.size())]);
      } else if (at < text.size()) {
        text.erase(at, 1);
      }
    }
    expectAsReadInFull(text);
  }
}

TEST(LongStrings, areFoundWhereTheyPay) {
  const std::string text =
      R"({"short":"AAAA","picture":")" + kLong + R"(","other":")" + kLong + R"("})";
  const auto found = longPlainStrings(text);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0], kLong);
  EXPECT_EQ(found[1].data(), text.data() + text.rfind("AAAA\"}") + 4 - kLong.size());
}

TEST(LongStrings, anErrorNamesItsPlaceInTheWholeText) {
  const std::string text = "[\"" + kLong + kLong + "\",nonsense]";
  const auto near = std::to_string(text.find("nonsense") + 2);
  EXPECT_NE(JSON::parse(text).error.find(near), std::string::npos) << JSON::parse(text).error;
}

}  // namespace
}  // namespace veltrane::testing
