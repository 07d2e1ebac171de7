// Base64 text to bytes, against OpenSSL's decoder into the same memory.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "veltrane/base/base64.h"

namespace {

constexpr std::size_t kBytes = 750'000;  // a megabyte of text

std::string randomText() {
  std::mt19937 random(1);
  std::vector<std::uint8_t> bytes(kBytes);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return veltrane::base64Encoded(bytes);
}

void openssl(benchmark::State& state) {
  const std::string text = randomText();
  std::vector<std::uint8_t> bytes(veltrane::base64DecodedRoom(text.size()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(),
                                             reinterpret_cast<const unsigned char*>(text.data()),
                                             static_cast<int>(text.size())));
  }
}

void ours(benchmark::State& state) {
  const std::string text = randomText();
  std::vector<std::uint8_t> bytes(veltrane::base64DecodedRoom(text.size()));
  for (auto _ : state) benchmark::DoNotOptimize(veltrane::base64Decode(text, bytes));
}

BENCHMARK(openssl)->Unit(benchmark::kMicrosecond)->MinTime(0.1);
BENCHMARK(ours)->Unit(benchmark::kMicrosecond)->MinTime(0.1);

}  // namespace

int main(int argc, char** argv) {
  return veltrane::bench::runPairs(
      argc, argv, {{"Base64 of 1 MB to bytes, against EVP_DecodeBlock", "ours", "openssl", 0.20}});
}
