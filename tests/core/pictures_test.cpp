#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "tests/core/host.h"
#include "veltrane/base/base64.h"
#include "veltrane/face/image.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/network/picture_cache.h"
#include "veltrane/ui/cells/image_table_view_cell.h"

namespace veltrane::testing {
namespace {

constexpr const char* kURL = "https://pictures.example/icon.png";

std::string text(PixelSize size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

TEST(Base64, decodesWhatItEncodesWhateverTheLengthAndTheBlanksBetween) {
  std::string bytes;
  for (int length = 0; length < 300; ++length) {
    const std::string encoded =
        base64Encoded({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    ASSERT_EQ(base64Decoded(encoded), bytes) << length;
    std::string wrapped;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
      if (i % 76 == 0 || i % 33 == 5) wrapped += i % 2 ? "\r\n" : " \xC3\xA9-_";
      wrapped += encoded[i];
    }
    ASSERT_EQ(base64Decoded(wrapped + '\n'), bytes) << length;
    bytes += static_cast<char>(length * 151 + length / 7);
  }
}

TEST(Base64, refusesPaddingThatIsMissingOrStandsWhereItMayNot) {
  for (const char* bad :
       {"Z", "Zg", "Zg=", "Zm8", "=", "Z===", "Zg==Zg==", "Zg=g", "Zg===", "Zm9v====", "Zm9vZ=="}) {
    EXPECT_EQ(base64Decoded(bad), std::nullopt) << bad;
  }
  const std::string half(4096, 'A');
  EXPECT_EQ(base64Decoded(half + "="), std::nullopt);
  EXPECT_EQ(base64Decoded(half + "AA==" + half), std::nullopt);
  EXPECT_EQ(base64Decoded("Zg = \n ="), "f");
  EXPECT_EQ(base64Decoded("/+++"), "\xff\xef\xbe");
}

class Pictures : public Host {
 protected:
  /// Downloads, and writes down what came of it.
  std::unique_ptr<ImageDownload> download(const std::string& url) {
    return NetworkManager::downloadImage(
        url, [this](const PicturePtr& picture, const std::optional<VeltraneFlowError>& error) {
          EXPECT_NE(picture == nullptr, !error.has_value());
          came.push_back(picture ? text(picture->size) : error->errorDescription());
        });
  }
  std::vector<std::string> came;
};

TEST_F(Pictures, textBecomesThePictureBehindItsFirstComma) {
  const auto size = [](std::string_view base64) {
    const auto picture = Image::base64ToUIImage(base64);
    return picture ? text(picture->size) : "none";
  };
  const std::string encoded = "cGljdHVyZSA0eDM=";  // picture 4x3
  EXPECT_EQ(size(encoded), "4x3");
  EXPECT_EQ(size("data:image/png;base64," + encoded), "4x3");
  EXPECT_EQ(size("abc," + encoded + ",ghi"), "4x3");
  EXPECT_EQ(size("abc," + encoded + "?"), "4x3");
  EXPECT_EQ(size(encoded + ",abc"), "none");
  EXPECT_EQ(size("cGljdHVy"), "none");
}

TEST_F(Pictures, aURLIsChangedInItsPathForTheScreensDensity) {
  const auto scaled = [&](double scale, const char* url) {
    platform.device->scale = scale;
    return Image::getScaledImageURL(url);
  };
  EXPECT_EQ(scaled(3, "https://h/a/icon.png"), "https://h/a/icon@3x.png");
  EXPECT_EQ(scaled(2.9, "https://h/a.b/icon"), "https://h/a.b/icon@2x.");
  EXPECT_EQ(scaled(2, "https://h/a.b/.icon"), "https://h/a.b/.icon@2x.");
  EXPECT_EQ(scaled(2, "https://h/x.png?v=1.5#a.b"), "https://h/x@2x.png?v=1.5#a.b");
  for (const char* same : {"https://host.example", "https://host.example?x.png", "", "a b.png",
                           "https://h/\xC3\xA9.png"}) {
    EXPECT_EQ(scaled(2, same), same);
  }
  for (const double below : {1.0, 1.99, 0.0, -3.0}) EXPECT_EQ(scaled(below, kURL), kURL);
  platform.device->scale = std::numeric_limits<double>::infinity();
  EXPECT_DEATH(Image::getScaledImageURL(kURL), "finite");
}

TEST_F(Pictures, oneRequestServesAllWhoAskAndThenMemoryDoes) {
  const auto first = download(kURL);
  const auto second = download(kURL);
  ASSERT_EQ(requests(), 1u);
  EXPECT_EQ(request().method + ' ' + request().url, std::string("GET ") + kURL);
  EXPECT_THAT(request().headers, IsEmpty()) << "the token of the flow is for its server alone";
  EXPECT_EQ(request().timeoutForResource, 30);
  platform.transport->answer(200, "picture 8x4");
  EXPECT_EQ(platform.codec->decoded, 0) << "decoded on the transport's thread";
  settle();
  EXPECT_THAT(came, ElementsAre("8x4", "8x4"));
  EXPECT_EQ(platform.codec->decoded, 1);
  const auto third = download(kURL);
  EXPECT_THAT(came, ElementsAre("8x4", "8x4", "8x4"));
  EXPECT_EQ(requests(), 1u);
}

TEST_F(Pictures, whatIsNoPictureIsToldAndNotKept) {
  for (const char* refused : {"http://pictures.example/x.png", "file:///etc/passwd", "x", ""}) {
    const auto download_ = download(refused);
    EXPECT_EQ(requests(), 0u) << refused;
  }
  came.clear();
  auto broken = download(kURL);
  platform.transport->answer(200, "<html>");
  settle();
  auto lost = download(kURL);
  platform.transport->last().finish(std::nullopt);
  settle();
  EXPECT_THAT(came, ElementsAre("Can not convert data to UIImage.", "No response from server..."));
  // Like a client without opinions about the status: what matters is the picture.
  auto odd = download(kURL);
  platform.transport->answer(404, "picture 1x1");
  settle();
  EXPECT_EQ(came.back(), "1x1");
}

TEST_F(Pictures, theLastWhoLosesInterestEndsTheTransfer) {
  auto first = download(kURL);
  auto second = download(kURL);
  first.reset();
  EXPECT_EQ(platform.transport->tasks().size(), 1u);
  second.reset();
  EXPECT_THAT(platform.transport->tasks(), IsEmpty());
  const auto again = download(kURL);
  ASSERT_EQ(requests(), 2u);
  platform.transport->answer(200, "picture 2x2");
  settle();
  EXPECT_THAT(came, ElementsAre("2x2"));
  auto late = download("https://pictures.example/late.png");
  platform.transport->answer(200, "picture 3x3");
  late.reset();
  settle();
  EXPECT_THAT(came, ElementsAre("2x2"));
  EXPECT_EQ(platform.codec->decoded, 1) << "a picture that nobody wants was decoded";
}

TEST_F(Pictures, onlySoManyTravelAtATimeAndTheOthersFollowInTheirOrder) {
  std::vector<std::unique_ptr<ImageDownload>> downloads;
  const auto url = [](int i) { return "https://pictures.example/" + std::to_string(i) + ".png"; };
  for (int i = 0; i < 10; ++i) downloads.push_back(download(url(i)));
  EXPECT_EQ(requests(), 6u);
  downloads[6].reset();
  platform.transport->exchanges[0]->finish(HTTPResponse{200, "picture 1x1"});
  EXPECT_EQ(requests(), 6u) << "its body is still in memory";
  settle();
  ASSERT_EQ(requests(), 7u);
  EXPECT_EQ(request().url, url(7));
  downloads[1].reset();
  EXPECT_EQ(request().url, url(8));
  for (std::size_t i = 2; i < platform.transport->exchanges.size(); ++i) {
    platform.transport->exchanges[i]->finish(std::nullopt);
  }
  EXPECT_EQ(came.size(), 8u) << "one of ten was dropped while it travelled, one before";
}

TEST(PictureCacheOfBytes, dropsTheLeastRecentlyUsedAndNeverHoldsMoreThanItsLimit) {
  const auto picture = [](std::size_t bytes) {
    return std::make_shared<Picture>(Picture{{}, Pixels(bytes, 0), true});
  };
  PictureCache cache(100);
  cache.insert("a", picture(40));
  cache.insert("b", picture(40));
  EXPECT_NE(cache.find("a"), nullptr);
  cache.insert("c", picture(30));
  EXPECT_EQ(cache.find("b"), nullptr);
  EXPECT_NE(cache.find("a"), nullptr);
  EXPECT_EQ(cache.bytes(), 70u);
  cache.insert("huge", picture(101));
  EXPECT_EQ(cache.find("huge"), nullptr);
  EXPECT_EQ(cache.bytes(), 70u);
  cache.insert("a", picture(100));
  EXPECT_EQ(cache.bytes(), 100u);
  EXPECT_EQ(cache.find("c"), nullptr);
}

class ImageRows : public Pictures {
 protected:
  std::shared_ptr<ImageTableViewCell> show(const std::string& component) {
    open(document(R"("screenComponentList":{"value":[)" + component + "]}"));
    return cell<ImageTableViewCell>(0);
  }
};

TEST_F(ImageRows, showWhatTheirAttributesSayTheyAreAndStayEmptyWhereThatIsBroken) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"cGljdHVyZSA0eDM=", R"({"imageType":"pngBase64Image"})", "4x3"},
      {"cGljdHVyZSA0eDM=", "{}", "none"},
      {"cGljdHVyZSA0eDM=", R"({"imageType":"string"})", "none"},
      {"bm90aGluZw==", R"({"imageType":"pngBase64Image"})", "none"},
  };
  for (const auto& [base64, attributes, shown] : cases) {
    const auto row = show(component("image", "pic", '"' + std::string(base64) + '"', attributes));
    EXPECT_EQ(row->icon.image, nullptr) << "decoded on the main thread";
    int changes = 0;
    const auto subscription = row->changed.subscribe([&] { ++changes; });
    settle();
    EXPECT_EQ(row->icon.image ? text(row->icon.image->size) : "none", shown) << attributes;
    EXPECT_EQ(changes, row->icon.image ? 1 : 0) << attributes;
    EXPECT_FALSE(row->isLoading()) << attributes;
    screen()->cancelPressed();
    platform.mainQueue->run();
  }
}

TEST_F(ImageRows, outOfSightLetTheirPictureGoAndFetchItAgain) {
  platform.device->scale = 2;
  open(document(R"("bodyIcon0LinkPng":{"value":"https://pictures.example/body.png"})"));
  const auto row = cell<ImageTableViewCell>(0);
  EXPECT_EQ(request().url, "https://pictures.example/body@2x.png");
  EXPECT_EQ(row->icon.scale, 2);
  EXPECT_TRUE(row->hasSource() && row->isLoading());
  row->didEndDisplaying();
  EXPECT_THAT(platform.transport->tasks(), IsEmpty());
  row->willDisplay();
  row->willDisplay();
  EXPECT_EQ(platform.transport->tasks().size(), 1u);
  platform.transport->answer(200, "picture 6x6");
  settle();
  ASSERT_NE(row->icon.image, nullptr);
  row->didEndDisplaying();
  EXPECT_EQ(row->icon.image, nullptr);
  row->willDisplay();
  settle();
  EXPECT_NE(row->icon.image, nullptr);
}

TEST_F(ImageRows, togetherHoldNoMoreThanTheLargestPictureMay) {
  const auto picture = component("image", "p", "\"cGljdHVyZSA4MTkyeDQwOTY=\"",  // 8192x4096
                                 R"({"imageType":"pngBase64Image"})");
  const auto first = show(picture + "," + picture + "," + picture);
  const auto second = cell<ImageTableViewCell>(1);
  const auto third = cell<ImageTableViewCell>(2);
  settle();
  EXPECT_TRUE(first->icon.image && second->icon.image);
  EXPECT_EQ(third->icon.image, nullptr);
  EXPECT_FALSE(third->isLoading());
  first->didEndDisplaying();
  third->didEndDisplaying();
  third->willDisplay();
  settle();
  EXPECT_NE(third->icon.image, nullptr);
}

/// Decodes only when the test lets it.
struct BlockingCodec final : PictureCodec {
  PicturePtr decode(std::string_view bytes) const override {
    started = true;
    started.notify_all();
    mayGoOn.wait(false);
    return FakeCodec().decode(bytes);
  }
  std::optional<std::string> encodePNG(const Picture&) const override { return std::nullopt; }
  PicturePtr resize(const Picture&, PixelSize, ResizeFramework) const override { return nullptr; }
  mutable std::atomic<bool> started = false;
  std::atomic<bool> mayGoOn = false;
};

TEST_F(ImageRows, theProgramMayEndWhileAPictureIsDecoded) {
  const auto codec = std::make_shared<BlockingCodec>();
  Platform ports = platform.ports();
  ports.pictureCodec = codec;
  ports.pictureQueue = std::make_shared<ThreadWorkQueue>();
  auto scope = std::make_unique<PlatformScope>(std::move(ports));
  show(component("image", "p", "\"cGljdHVyZSA0eDM=\"", R"({"imageType":"pngBase64Image"})"));
  codec->started.wait(false);
  std::thread later([codec] {
    codec->mayGoOn = true;
    codec->mayGoOn.notify_all();
  });
  scope.reset();
  later.join();
  platform.mainQueue->run();
}

TEST_F(Pictures, areNeverScaledBeyondWhatMemoryBears) {
  const auto picture = Image::base64ToUIImage("cGljdHVyZSA0eDM=");
  ASSERT_NE(picture, nullptr);
  for (const PixelSize bad : {PixelSize{0, 5}, {5, -1}, {60'000, 60'000}}) {
    EXPECT_EQ(Image::resizeWithCoreGraphics(*picture, bad), nullptr);
  }
}

TEST(ThreadWorkQueue, keepsTheOrderAndItsEndWaitsForWhatRunsAndDropsTheRest) {
  std::vector<int> done;
  std::atomic<bool> running = false;
  std::atomic<bool> mayGoOn = false;
  auto queue = std::make_unique<ThreadWorkQueue>();
  std::thread([&] {
    for (int i = 0; i < 100; ++i) queue->async([&, i] { done.push_back(i); });
  }).join();
  queue->async({});
  queue->async([&] {
    running = true;
    running.notify_all();
    mayGoOn.wait(false);
    done.push_back(100);
  });
  running.wait(false);
  std::atomic<bool> ended = false;
  std::thread end([&] {
    queue.reset();
    ended = true;
  });
  EXPECT_FALSE(ended);
  mayGoOn = true;
  mayGoOn.notify_all();
  end.join();
  auto own = std::make_shared<ThreadWorkQueue>();
  std::atomic<bool> dropped = false;
  own->async([&dropped, last = std::move(own)]() mutable {
    last.reset();
    dropped = true;
    dropped.notify_all();
  });
  dropped.wait(false);
  ASSERT_EQ(done.size(), 101u);
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

}  // namespace
}  // namespace veltrane::testing
