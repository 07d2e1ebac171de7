#include <gtest/gtest.h>

#include <limits>

#include "tests/support/fakes.h"
#include "veltrane/base/base64.h"
#include "veltrane/base/dictionary.h"
#include "veltrane/base/text.h"
#include "veltrane/toolkit/color.h"

namespace veltrane {
namespace {

JSON parsed(std::string_view text) {
  const auto result = JSON::parse(text);
  EXPECT_TRUE(result.ok()) << result.error;
  return result.value;
}

TEST(JSON, readsLenientlyAndNeverThrows) {
  const JSON document = parsed(R"({"a":[1,{"b":"x"}],"t":"5","n":2.5,"nil":null})");
  EXPECT_EQ(document["a"][1]["b"].text(), "x");
  EXPECT_TRUE(document["a"][7]["b"][3]["c"].isNull());
  EXPECT_TRUE(document["t"]["t"].isNull());
  EXPECT_TRUE(document["a"][-1].isNull());
  EXPECT_FALSE(document["t"].integer());
  EXPECT_FALSE(document["n"].text());
  EXPECT_TRUE(document.contains("nil"));
  EXPECT_FALSE(document.contains("none"));
  EXPECT_EQ(JSON().size(), 0u);
}

TEST(JSON, numbersAndBooleansReadAlikeWhereOneIsAskedFor) {
  EXPECT_EQ(parsed("2.0").integer(), 2);
  EXPECT_FALSE(parsed("2.5").integer());
  EXPECT_EQ(parsed("true").integer(), 1);
  EXPECT_FALSE(parsed("18446744073709551615").integer());
  EXPECT_FALSE(parsed("1e300").integer());
  EXPECT_EQ(parsed("1").boolean(), true);
  EXPECT_EQ(parsed("0.0").boolean(), false);
  EXPECT_FALSE(parsed("2").boolean());
  EXPECT_FALSE(parsed("\"true\"").boolean());
  EXPECT_FALSE(parsed("true").number());
  EXPECT_EQ(parsed("18446744073709551615").number(), 18446744073709551615.0);
}

TEST(JSON, asTextTruncatesAndStaysWithin64Bits) {
  EXPECT_EQ(parsed("7.9").asText(), "7");
  EXPECT_EQ(parsed("-7.9").asText(), "-7");
  EXPECT_EQ(parsed("true").asText(), "1");
  EXPECT_EQ(parsed("1e300").asText(), "9223372036854775807");
  EXPECT_EQ(parsed("-1e300").asText(), "-9223372036854775808");
  EXPECT_EQ(parsed("18446744073709551615").asText(), "9223372036854775807");
  EXPECT_EQ(parsed("[]").asText(), "");
  EXPECT_EQ(parsed("2.5").shortestDecimal(), "2.5");
  EXPECT_EQ(parsed("5.0").shortestDecimal(), "5");
}

TEST(JSON, refusesWhatIsNotJSONWithAReason) {
  for (const auto* text : {"", "{", "{\"a\":}", "[1,]", "tru", "{} x", "\"\xff\"", "'a'"}) {
    const auto result = JSON::parse(text);
    EXPECT_FALSE(result.ok()) << text;
    EXPECT_TRUE(result.value.isNull());
  }
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_TRUE(JSON::parse(nested(JSON::kMaxDepth)).ok());
  EXPECT_FALSE(JSON::parse(nested(JSON::kMaxDepth + 1)).ok());
  EXPECT_FALSE(JSON::parse(std::string(100'000, '[')).ok());
  EXPECT_TRUE(JSON::parse(std::string("[") + std::string(200, ' ') + "[],[],[]]").ok());
}

TEST(JSON, partsKeepTheirDocumentAlive) {
  JSON part;
  {
    part = parsed(R"({"deep":{"text":"long enough to live on the heap of its document"}})")["deep"];
  }
  EXPECT_EQ(part["text"].text(), "long enough to live on the heap of its document");
  const Dictionary entries{{"part", part}, {"n", 1}, {"list", JSON::array({true, JSON(), "x"})}};
  EXPECT_EQ(JSON(entries).serialized(),
            R"({"list":[true,null,"x"],"n":1,"part":{"text":"long enough to live on the heap of)"
            R"( its document"}})");
}

TEST(JSON, writesNothingThatIsNotJSON) {
  EXPECT_FALSE(JSON("\xff").serialized());
  EXPECT_FALSE(JSON(Dictionary{{"n", std::numeric_limits<double>::quiet_NaN()}}).serialized());
  EXPECT_EQ(JSON("\n\"€").serialized(), "\"\\n\\\"€\"");
}

TEST(Dictionary, keepsOneValueANameInOrder) {
  Dictionary entries{{"b", 1}, {"a", 2}, {"b", 3}};
  EXPECT_EQ(JSON(entries).serialized(), R"({"a":2,"b":3})");
  entries.remove("a");
  entries.remove("missing");
  EXPECT_FALSE(entries.contains("a"));
  EXPECT_EQ(entries["b"].integer(), 3);
}

TEST(Text, trimsUnicodeWhiteSpaceAndCountsCodePoints) {
  EXPECT_EQ(trimmed(" \t\xC2\xA0 a b \xE3\x80\x80\n"), "a b");
  EXPECT_EQ(trimmed("\xE2\x80\x83"), "");
  EXPECT_EQ(trimmed("\xE2\x80"), "\xE2\x80");
  EXPECT_EQ(codePointCount("aé€😀"), 4u);
  EXPECT_EQ(codePointCount("\xff\xE2\x80"), 3u);
}

TEST(Base64, padsToFours) {
  const auto encoded = [](std::string_view text) {
    return base64Encoded({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  };
  EXPECT_EQ(encoded(""), "");
  EXPECT_EQ(encoded("f"), "Zg==");
  EXPECT_EQ(encoded("fo"), "Zm8=");
  EXPECT_EQ(encoded("foo"), "Zm9v");
  EXPECT_EQ(encoded("\xff\xef\xbe"), "/+++");
}

class ColorTest : public ::testing::Test {
 protected:
  testing::FakePlatform platform_;
};

TEST_F(ColorTest, readsTheFourForms) {
  const std::pair<const char*, const char*> cases[] = {
      {"#FFF", "#ffffffff"},    {"FFF", "#ffffffff"},           {"#0F08", "#00ff0088"},
      {"#99C852", "#99c852ff"}, {"  #99C85280\t", "#99c85280"}, {"#12G456", "#000012ff"},
      {"0xFF", "#00000000"},
  };
  for (const auto& [text, hex] : cases) EXPECT_EQ(Color::fromHex(text).hex(), hex) << text;
  EXPECT_TRUE(platform_.console->lines().empty());
}

TEST_F(ColorTest, whatCannotBeReadIsBlackAndSaysSo) {
  EXPECT_EQ(Color::fromHex(""), Color());
  EXPECT_EQ(Color::fromHex("#zz"), Color());
  EXPECT_TRUE(platform_.console->has("Scan hex error"));
  for (const auto* text : {"#12345", "#FFFFFFFFFFFFFFFFFF", "#fffé€"}) {
    EXPECT_EQ(Color::fromHex(text), Color());
  }
  EXPECT_TRUE(platform_.console->has(
      "Invalid RGB string, number of characters after '#' should be either 3, 4, 6 or 8"));
}

class ConsoleTest : public ColorTest {};

TEST_F(ConsoleTest, masksSecretsAtAnyDepth) {
  const JSON value =
      parsed(R"({"a":[{"token":{"x":"tok-1"}}],"parameters":{"password":"pw-1","user":"alice"},)"
             R"("access_token":"tok-2","list":[1,[],{},"y"]})");
  console::print("value: ", value, {"password"});
  EXPECT_TRUE(platform_.console->has(
      R"(value: {"a":[{"token":"•••"}],"access_token":"•••","list":[1,[],{},"y"],)"
      R"("parameters":{"password":"•••","user":"alice"}})"));
  EXPECT_EQ(console::masked(value, {"password"})["parameters"]["password"].text(), "•••");
}

TEST_F(ConsoleTest, masksWhatIsFilledIntoMaskedFields) {
  const JSON field =
      parsed(R"([{"attributes":{"hashedVisibility":true},"value":"filled-in"},{"value":"shown"},)"
             R"({"attributes":{"imageType":"pngBase64Image"},"value":"p1cture"}])");
  console::print("rows ", field);
  EXPECT_FALSE(platform_.console->mentions("p1cture"));
  EXPECT_FALSE(platform_.console->mentions("filled-in"));
  EXPECT_TRUE(platform_.console->mentions("shown"));
  EXPECT_EQ(console::masked(field)[0]["value"].text(), "•••");
}

TEST_F(ConsoleTest, keepsALineOneLine) {
  console::print("text\nforged: \x1b[2J\x7f\xC3\xA9");
  EXPECT_EQ(platform_.console->lines().back(), "text\\x0aforged: \\x1b[2J\\x7f\xC3\xA9");
}

TEST_F(ConsoleTest, cutsLongValuesAtACharacter) {
  std::string euros;
  while (euros.size() < 200'000) euros += "€";
  console::print("v ", JSON::array({euros, euros}));
  const std::string line = platform_.console->lines().back();
  EXPECT_LT(line.size(), 70'000u);
  EXPECT_TRUE(line.ends_with("€… (cut)"));
}

}  // namespace
}  // namespace veltrane
