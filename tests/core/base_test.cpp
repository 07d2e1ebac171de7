#include <limits>
#include <random>

#include "tests/core/host.h"
#include "tests/support/memory_search.h"
#include "veltrane/base/base64.h"
#include "veltrane/base/secret.h"
#include "veltrane/base/text.h"
#include "veltrane/toolkit/color.h"

namespace veltrane::testing {
namespace {

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

TEST(JSON, numbersAndBooleansReadAlikeAndTextStaysWithin64Bits) {
  const std::tuple<const char*, std::optional<std::int64_t>, std::optional<bool>,
                   std::optional<double>, const char*>
      cases[] = {
          {"2.0", 2, {}, 2.0, "2"},
          {"2.5", {}, {}, 2.5, "2"},
          {"-7.9", {}, {}, -7.9, "-7"},
          {"0.0", 0, false, 0.0, "0"},
          {"1", 1, true, 1.0, "1"},
          {"2", 2, {}, 2.0, "2"},
          {"true", 1, true, {}, "1"},
          {"\"true\"", {}, {}, {}, "true"},
          {"[]", {}, {}, {}, ""},
          {"1e300", {}, {}, 1e300, "9223372036854775807"},
          {"-1e300", {}, {}, -1e300, "-9223372036854775808"},
          {"18446744073709551615", {}, {}, 18446744073709551615.0, "9223372036854775807"},
      };
  for (const auto& [text, integer, boolean, number, asText] : cases) {
    const JSON value = parsed(text);
    EXPECT_EQ(value.integer(), integer) << text;
    EXPECT_EQ(value.boolean(), boolean) << text;
    EXPECT_EQ(value.number(), number) << text;
    EXPECT_EQ(value.asText(), asText) << text;
  }
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

TEST(JSON, bytesAreATextOfTheirBase64WhereverTheyAreCopied) {
  std::string picture = "\xFB\xFF\xBE picture";
  JSON body;
  {
    const JSON bytes = JSON::base64(picture);
    const JSON parameters = Dictionary{{"imageData", bytes}, {"n", 2.5}};
    body = JSON::array({Dictionary{{"parameters", parameters}}, "a\"b", JSON::base64("")});
    EXPECT_EQ(bytes.serialized(), R"("+/++IHBpY3R1cmU=")");
    EXPECT_EQ(bytes, parameters["imageData"]);
  }
  picture.assign(picture.size(), 'x');
  EXPECT_EQ(body.serialized(),
            R"([{"parameters":{"imageData":"+/++IHBpY3R1cmU=","n":2.5}},"a\"b",""])");
  const JSON value = body[0]["parameters"]["imageData"];
  body = {};
  EXPECT_EQ(value.kind(), JSON::Kind::text);
  EXPECT_EQ(value.text(), "+/++IHBpY3R1cmU=");
  EXPECT_EQ(value.asText(), "+/++IHBpY3R1cmU=");
  EXPECT_EQ(
      JSON(Dictionary{{"a", value}, {"b", JSON::array({})}, {"c", Dictionary()}}).serialized(),
      R"({"a":"+/++IHBpY3R1cmU=","b":[],"c":{}})");
}

TEST(JSON, leavesNothingOfItsBytesInMemory) {
  const std::string inText = "Kq7v/dX2mZ0+Rb8Tn5cY/w3hJ6sLu9Ge";  // as they are searched: turned
  std::string inBytes;
  {
    std::string text;
    text.reserve(100 * inText.size());
    for (int i = 0; i < 100; ++i) text.append(inText.rbegin(), inText.rend());
    const Secret picture(base64Decoded(text).value());
    Secret::wipe(text);
    inBytes.assign(picture.bytes().rbegin(), picture.bytes().rbegin() + 24);
    const JSON bytes = JSON::base64(picture.bytes());
    const auto serialized = [&bytes](const std::string& behind) {
      return JSON(Dictionary{{"imageData", bytes}, {"note", behind}}).serialized();
    };
    auto body = serialized(std::string(10'000, '\x01'));  // six times as long when it is escaped
    ASSERT_TRUE(body);
    EXPECT_EQ(countInMemory(inText), 100);
    Secret::wipe(*body);
    EXPECT_FALSE(serialized("\xff"));
    EXPECT_EQ(countInMemory(inText), 0);
    EXPECT_EQ(bytes.text()->size(), 3'200u);
    EXPECT_GT(countInMemory(inBytes), 0);
  }
  EXPECT_EQ(countInMemory(inText), 0);
  EXPECT_EQ(countInMemory(inBytes), 0);
}

TEST(Dictionary, mergedIsWhatSettingOneAfterTheOtherLeaves) {
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

TEST(Text, trimsUnicodeWhiteSpaceAndCountsCodePoints) {
  EXPECT_EQ(trimmed(" \t\xC2\xA0 a b \xE3\x80\x80\n"), "a b");
  EXPECT_EQ(trimmed("\xE2\x80\x83"), "");
  EXPECT_EQ(trimmed("\xE2\x80"), "\xE2\x80");
  EXPECT_EQ(codePointCount("aé€😀"), 4u);
  EXPECT_EQ(codePointCount("\xff\xE2\x80"), 3u);
}

class ColorTest : public ::testing::Test {
 protected:
  FakePlatform platform_;
};

TEST_F(ColorTest, readsTheFourFormsAndTakesTheRestForBlackAndSaysSo) {
  const auto noHex = "Scan hex error";
  const auto wrongLength =
      "Invalid RGB string, number of characters after '#' should be either 3, 4, 6 or 8";
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"#FFF", "#ffffffff", ""},
      {"FFF", "#ffffffff", ""},
      {"#0F08", "#00ff0088", ""},
      {"#99C852", "#99c852ff", ""},
      {"  #99C85280\t", "#99c85280", ""},
      {"#12G456", "#000012ff", ""},
      {"0xFF", "#00000000", ""},
      {"", "#000000ff", noHex},
      {"#zz", "#000000ff", noHex},
      {"#12345", "#000000ff", wrongLength},
      {"#FFFFFFFFFFFFFFFFFF", "#000000ff", wrongLength},
      {"#fffé€", "#000000ff", wrongLength},
  };
  for (const auto& [text, hex, line] : cases) {
    EXPECT_EQ(Color::fromHex(text).hex(), hex) << text;
    const auto said = platform_.console->take();
    EXPECT_EQ(said.empty() ? "" : said.back(), line) << text;
  }
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
}

TEST_F(ConsoleTest, masksWhatIsFilledIntoMaskedFields) {
  const JSON field =
      parsed(R"([{"attributes":{"hashedVisibility":true},"value":"filled-in"},{"value":"shown"},)"
             R"({"attributes":{"imageType":"pngBase64Image"},"value":"p1cture"}])");
  console::print("rows ", field);
  EXPECT_FALSE(platform_.console->mentions("p1cture"));
  EXPECT_FALSE(platform_.console->mentions("filled-in"));
  EXPECT_TRUE(platform_.console->mentions("shown"));
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
}  // namespace veltrane::testing
