#include <zlib.h>

#include <functional>

#include "apps/sandbox/pictures/encoders.h"
#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string bigEndian(std::uint32_t value) {
  std::string bytes;
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

std::string chunk(const std::string& name, const std::string& data) {
  const std::string summed = name + data;
  const auto sum =
      ::crc32(0, reinterpret_cast<const Bytef*>(summed.data()), static_cast<uInt>(summed.size()));
  return bigEndian(static_cast<std::uint32_t>(data.size())) + summed +
         bigEndian(static_cast<std::uint32_t>(sum));
}

std::string compressed(const std::string& bytes) {
  std::string out(::compressBound(bytes.size()), 0);
  uLongf size = out.size();
  ::compress(reinterpret_cast<Bytef*>(out.data()), &size,
             reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  out.resize(size);
  return out;
}

/// A grey picture, to be spoilt in one place.
struct Png {
  std::uint32_t width = 30;
  std::uint32_t height = 40;
  std::string kind = std::string("\x08\x02\x00\x00\x00", 5);
  std::string beforePixels;
  std::size_t rows = 40;
  std::string behind;

  std::string file() const {
    std::string pixels;
    for (std::size_t i = 0; i < rows; ++i) {
      pixels.append(1, '\0').append(std::size_t{3} * width, 'x');
    }
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", bigEndian(width) + bigEndian(height) + kind) +
           beforePixels + chunk("IDAT", compressed(pixels)) + chunk("IEND", "") + behind;
  }
};

class FaceTest : public SandboxTest {
 protected:
  FaceTest() {
    server->addFlow("face", R"({
      "start": {"id": "doc-1", "companyId": "${companyId}", "flowId": "${flowId}",
                "connectionId": "conn-1", "capabilityName": "buy",
                "interactionId": "${interactionId}", "screen": {"userViews": []}},
      "events": {"pay": [{"facePicture": true, "answer": {"success": 1}}]}})");
    path_ = "/v1/auth/acme/connections/conn-1/capabilities/buy?interactionId=" +
            json::parse(send(startOf("face"))->body)["interactionId"].get<std::string>();
  }

  httplib::Result sendFace(const json& imageData) const {
    json body = goodBody();
    if (!imageData.is_discarded()) body["parameters"]["imageData"] = imageData;
    return send({.path = path_, .body = body.dump()});
  }
  httplib::Result sendPng(const std::string& png) const { return sendFace(base64(png)); }
  /// Why it is refused.
  std::string reasonFor(const json& imageData) const {
    const auto answer = sendFace(imageData);
    const json body = json::parse(answer->body);
    if (answer->status != 400 || body["code"] != "badFacePicture") return "not refused so";
    return body["message"];
  }
  httplib::Result page(const std::string& path = "/face",
                       const httplib::Headers& headers = {}) const {
    return client()->Get(path, headers);
  }

 private:
  std::string path_;
};

TEST_F(FaceTest, aGoodPictureIsTakenAndShown) {
  EXPECT_THAT(page()->body, HasSubstr("No picture has come yet."));
  EXPECT_EQ(page("/face/picture.png")->status, 404);
  const std::string first = Png().file();
  EXPECT_EQ(sendPng(first)->status, 200);
  EXPECT_THAT(page()->body, HasSubstr("30 x 40 pixels, " + std::to_string(first.size())));
  EXPECT_THAT(page()->body, Not(HasSubstr("http-equiv=\"refresh\"")));
  const auto shown = page("/face/picture.png");
  EXPECT_EQ(shown->get_header_value("Content-Type"), "image/png");
  EXPECT_EQ(shown->get_header_value("Cache-Control"), "no-store");
  EXPECT_EQ(shown->body, first);
  const std::string second = Png{.width = 1000, .height = 562, .rows = 562}.file();
  EXPECT_EQ(sendPng(second)->status, 200);
  EXPECT_EQ(sendPng("no picture")->status, 400);
  EXPECT_EQ(page("/face/picture.png?2")->body, second);
}

TEST_F(FaceTest, whatIsNoBase64OfAPngIsRefused) {
  const std::string png = Png().file();
  const std::string text = base64(png);
  const std::vector<std::pair<json, std::string>> cases = {
      {json(json::value_t::discarded), "is missing"},
      {nullptr, "is missing"},
      {5, "is no text"},
      {"", "is empty"},
      {"data:image/png;base64," + text, "data URL"},
      {base64(text), "encoded twice"},
      {text.substr(0, 76) + "\n" + text.substr(76), "no Base64"},
      {text + "=", "no Base64"},
      {"AB==", "no Base64"},
      {"=AAA", "no Base64"},
      {"AA-_", "no Base64"},
      {base64("\xFF\xD8\xFF\xE0 a JPEG"), "is no PNG"},
      {base64(png.substr(0, 8)), "ends too soon"},
      {base64(png.substr(0, png.size() - 1)), "ends too soon"}};
  for (const auto& [imageData, reason] : cases) {
    EXPECT_THAT(reasonFor(imageData), HasSubstr(reason));
  }
}

TEST_F(FaceTest, aPngOfAnotherKindOrWithMoreInItIsRefused) {
  const std::string kGrey("\x08\x00\x00\x00\x00", 5);
  const std::string kTransparent("\x08\x06\x00\x00\x00", 5);
  const std::string kDeep("\x10\x02\x00\x00\x00", 5);
  const std::string kInterlaced("\x08\x02\x00\x00\x01", 5);
  std::string flipped = Png().file();
  flipped[50] ^= 1;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {Png{.width = 1001, .height = 1, .rows = 1}.file(), "1001 x 1 pixels"},
      {Png{.width = 0x80000000, .height = 1, .rows = 0}.file(), "2147483648 x 1 pixels"},
      {Png{.width = 0, .rows = 40}.file(), "0 x 40 pixels"},
      {Png{.kind = kGrey}.file(), "another kind"},
      {Png{.kind = kTransparent}.file(), "another kind"},
      {Png{.kind = kDeep}.file(), "another kind"},
      {Png{.kind = kInterlaced}.file(), "interlaced"},
      {Png{.kind = "\x08\x02"}.file(), "wrong length"},
      {Png{.beforePixels = chunk("tEXt", "Author\0me")}.file(), "\"tEXt\""},
      {Png{.beforePixels = chunk("eXIf", "MM")}.file(), "\"eXIf\""},
      {Png{.beforePixels = chunk("tIME", "1234567")}.file(), "\"tIME\""},
      {Png{.beforePixels = chunk("gAMA", "1234")}.file(), "\"gAMA\""},
      {Png{.beforePixels = chunk("\x1B[2J", "")}.file(), "\"?[2J\""},
      {Png{.rows = 39}.file(), "cannot be read"},
      {Png{.behind = "more"}.file(), "behind its end"},
      {"\x89PNG\r\n\x1A\n" + chunk("IDAT", ""), "does not begin with its header"},
      {flipped, "checksum"}};
  for (const auto& [png, reason] : cases) {
    EXPECT_THAT(reasonFor(base64(png)), HasSubstr(reason));
  }
  EXPECT_THAT(page()->body, HasSubstr("No picture has come yet."));
}

TEST_F(FaceTest, thePageIsForThisMachineAloneAndIsNotRecorded) {
  sendPng(Png().file());
  server->clearRequests();
  for (const char* path : {"/face", "/face/picture.png"}) {
    EXPECT_EQ(page(path, {{"Host", "evil.example"}})->status, 403);
    const auto cross = page(path, {{"Sec-Fetch-Site", "cross-site"}});
    EXPECT_EQ(cross->status, 403);
    EXPECT_THAT(cross->body, Not(HasSubstr("PNG")));
    EXPECT_EQ(client()->Post(path, "", "text/plain")->status, 405);
  }
  EXPECT_EQ(page("/face/other.png")->status, 404);
  const auto policy = page()->get_header_value("Content-Security-Policy");
  EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
  EXPECT_THAT(policy, HasSubstr("img-src 'self'"));
  EXPECT_TRUE(server->requests().empty());
}

}  // namespace
}  // namespace veltrane::sandbox::test
