// A flow document's text to the rows of all its screens, against a bare parse of the same text.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/document_work.h"
#include "bench/ratio_reporter.h"
#include "veltrane/base/base64.h"

namespace {

using veltrane::bench::Pair;

struct Size {
  const char* name;
  std::size_t bytes;
  double wanted;
};
constexpr Size kSizes[] = {
    {"5 KB", 5'000, 1.20}, {"1 MB", 1'000'000, 1.25}, {"10 MB", 10'000'000, 1.30}};

template <typename Work>
void add(const std::string& name, const std::string& text, Work work) {
  benchmark::RegisterBenchmark(
      name.c_str(),
      [text, work](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(work(text));
        state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
      })
      ->Unit(benchmark::kMicrosecond)
      ->MinTime(0.1);
}

/// A screen of 1 MB whose bulk is one Base64 text.
std::string pictureDocument() {
  std::mt19937 random(1);
  std::vector<std::uint8_t> bytes(750'000);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return R"({"screen":{"userViews":[{"screenTemplateName":"OtpScreenTemplate"}],"properties":{)"
         R"("title":{"value":"Scan"},"qr":{"value":")" +
         veltrane::base64Encoded(bytes) + R"("},"nextButtonText":{"value":"Go"}}}})";
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Pair> pairs;
  for (const Size& size : kSizes) {
    const auto document = veltrane::bench::generateDocument(size.bytes);
    const std::string rows = std::string("rows/") + size.name,
                      parse = std::string("parse/") + size.name;
    const std::string core = std::string("core_parse/") + size.name;
    add(rows, document.text, veltrane::bench::documentToRows);
    add(parse, document.text, veltrane::bench::bareParse);
    add(core, document.text, veltrane::bench::coreParse);
    const std::string what =
        std::string(size.name) + ", " + std::to_string(document.rows) + " rows";
    pairs.push_back({"document to rows, " + what, rows, parse, size.wanted});
    pairs.push_back({"its parse alone, " + what, core, parse, size.wanted});
  }
  const std::string picture = pictureDocument();
  add("core_parse/picture", picture, veltrane::bench::coreParse);
  add("parse/picture", picture, veltrane::bench::bareParse);
  pairs.push_back(
      {"parse, 1 MB, nearly all of it one picture", "core_parse/picture", "parse/picture", 0.03});
  return veltrane::bench::runPairs(argc, argv, std::move(pairs));
}
