#include <algorithm>
#include <cstdint>

#include "apps/sandbox/flow.h"
#include "apps/sandbox/pictures/drawings.h"
#include "apps/sandbox/pictures/encoders.h"
#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::uint32_t bigEndianAt(const std::string& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
  }
  return value;
}

/// Width and height in a PNG's header.
std::pair<std::uint32_t, std::uint32_t> sizeOf(const std::string& png) {
  return {bigEndianAt(png, 16), bigEndianAt(png, 20)};
}

class PicturesTest : public SandboxTest {
 protected:
  httplib::Result get(const std::string& name) const { return client()->Get("/pictures/" + name); }

  /// The first `most` bytes of a body and the length that was announced for it.
  std::pair<std::string, std::string> startOfBody(const std::string& name, std::size_t most) const {
    std::string body;
    std::string announced;
    client()->Get(
        "/pictures/" + name,
        [&](const httplib::Response& response) {
          announced = response.get_header_value("Content-Length");
          return true;
        },
        [&](const char* data, std::size_t size) {
          body.append(data, size);
          return body.size() < most;
        });
    return {body, announced};
  }
};

TEST_F(PicturesTest, drawsEveryDensityAndKind) {
  using Size = std::pair<std::uint32_t, std::uint32_t>;
  for (const std::string& name : drawingNames()) {
    const Size base = sizeOf(get(name + ".png")->body);
    EXPECT_EQ(sizeOf(get(name + "@2x.png")->body), Size(base.first * 2, base.second * 2)) << name;
    EXPECT_EQ(sizeOf(get(name + "@3x.png")->body), Size(base.first * 3, base.second * 3)) << name;
    EXPECT_EQ(sizeOf(get(name + "-large@2x.png")->body), Size(base.first * 6, base.second * 6));
  }
  const auto png = get("key.png?v=1");
  EXPECT_EQ(png->get_header_value("Content-Type"), "image/png");
  EXPECT_THAT(png->body, StartsWith("\x89PNG\r\n"));
  const auto jpg = get("key@2x.jpg");
  EXPECT_EQ(jpg->get_header_value("Content-Type"), "image/jpeg");
  EXPECT_THAT(jpg->body, StartsWith("\xFF\xD8"));
  EXPECT_THAT(jpg->body, testing::Not(HasSubstr("Exif")));
  EXPECT_THAT(get("hills-turned.jpg")->body, HasSubstr("Exif"));
  const auto webp = get("key.webp");
  EXPECT_EQ(webp->get_header_value("Content-Type"), "image/webp");
  EXPECT_EQ(webp->body.substr(8, 4), "WEBP");
  for (const char* none : {"key", "key.gif", "key@4x.png", "lock.png", "key-turned.png", "",
                           "a/b/c", "../key.png", "calm/key.png", "slow-x/key.png"}) {
    EXPECT_EQ(get(none)->status, 404) << none;
  }
}

TEST_F(PicturesTest, areAskedForWithoutAToken) {
  EXPECT_EQ(client()->Get("/pictures/key.png", {{"Authorization", "Bearer x"}})->status, 400);
  EXPECT_EQ(client()->Post("/pictures/key.png")->status, 400);
}

TEST_F(PicturesTest, comeToHarmInEveryWay) {
  const std::string whole = get("key.png")->body;
  EXPECT_FALSE(get("cut/key.png")) << "less than announced";
  EXPECT_EQ(get("torn/key.png")->body, whole.substr(0, whole.size() / 2));
  EXPECT_EQ(get("html/key.png")->get_header_value("Content-Type"), "text/html");
  EXPECT_EQ(get("html/key.png")->status, 200);
  EXPECT_EQ(sizeOf(get("claims/key.png")->body), std::pair(60'000U, 60'000U));
  EXPECT_EQ(get("empty/key.png")->body, "");
  EXPECT_EQ(get("http/key@2x.png")->status, 302);
  EXPECT_THAT(get("http/key@2x.png")->get_header_value("Location"),
              testing::MatchesRegex("http://localhost:[0-9]+/pictures/key@2x.png"));
  EXPECT_FALSE(get("close/key.png"));
  EXPECT_EQ(get("slow-1/key.png")->body, whole);

  const auto [big, announced] = startOfBody("4gb/key.png", 1'000'000);
  EXPECT_EQ(announced, "4294967296");
  EXPECT_GE(big.size(), 1'000'000U);
  EXPECT_THAT(big, StartsWith(whole));
  const auto [endless, none] = startOfBody("endless/key.png", 1'000'000);
  EXPECT_EQ(none, "");
  EXPECT_THAT(endless, StartsWith(whole));
  EXPECT_TRUE(std::all_of(endless.begin() + static_cast<std::ptrdiff_t>(whole.size()),
                          endless.end(), [](char c) { return c == 0; }));
}

TEST_F(PicturesTest, goIntoAnswersByPlaceholder) {
  server->addFlow("gallery", R"({
    "start": {"key": "data:image/png;base64,${picture:key@2x.png}", "code": "${qr:enrol}",
              "url": "${serverURL}/pictures/key.png"},
    "qrCodes": {"enrol": "otpauth://totp/x"}})");
  const json answer = json::parse(send(startOf("gallery"))->body);
  EXPECT_EQ(answer["key"], "data:image/png;base64," + base64(get("key@2x.png")->body));
  EXPECT_EQ(answer["code"], base64(png(qrCode("otpauth://totp/x"))));
  EXPECT_EQ(answer["url"],
            "https://localhost:" + std::to_string(server->port()) + "/pictures/key.png");
}

TEST(QrCode, hasAQuietZoneAndItsThreeCorners) {
  const Bitmap code = qrCode("otpauth://totp/x");
  EXPECT_EQ(code.width, code.height);
  const auto isBlack = [&](int column, int row) {
    return code.at((column + 4) * 6 + 3, (row + 4) * 6 + 3)[0] == 0;
  };
  const int last = code.width / 6 - 8 - 1;
  EXPECT_FALSE(isBlack(-1, -1));
  EXPECT_TRUE(isBlack(0, 0));
  EXPECT_FALSE(isBlack(1, 1));
  EXPECT_TRUE(isBlack(last, 0));
  EXPECT_TRUE(isBlack(0, last));
  EXPECT_THROW(qrCode(""), std::invalid_argument);
  EXPECT_THROW(qrCode(std::string(4000, 'x')), std::invalid_argument);
}

}  // namespace
}  // namespace veltrane::sandbox::test
