#include <gtest/gtest.h>

#include <thread>

#include "platform/pictures/codec.h"
#include "tests/pictures/samples.h"

namespace veltrane::pictures::testing {
namespace {

constexpr ResizeFramework kFrameworks[] = {ResizeFramework::uikit, ResizeFramework::coreImage,
                                           ResizeFramework::coreGraphics, ResizeFramework::imageIO,
                                           ResizeFramework::accelerate};

/// All that a codec does, and what came of it.
std::string work(const Codec& codec, const std::vector<Sample>& samples) {
  std::string results;
  for (const Sample& sample : samples) {
    const PicturePtr picture = codec.decode(sample.bytes);
    if (!picture) return "none";
    for (const ResizeFramework framework : kFrameworks) {
      const PicturePtr small = codec.resize(*picture, {21, 13}, framework);
      results += small ? codec.encodePNG(*small).value_or("none") : "none";
    }
  }
  return results;
}

TEST(Threads, ShareOneCodec) {
  const std::vector<Sample> samples = everySample();
  const Codec codec;
  std::string results[4];
  std::vector<std::thread> threads;
  for (std::string& result : results) {
    threads.emplace_back([&] { result = work(codec, samples); });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string alone = work(codec, samples);
  EXPECT_EQ(alone.find("none"), std::string::npos);
  for (const std::string& result : results) EXPECT_TRUE(result == alone);
}

}  // namespace
}  // namespace veltrane::pictures::testing
