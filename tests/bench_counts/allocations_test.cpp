#include <gtest/gtest.h>

#include "bench/document_work.h"
#include "tests/bench_counts/counting_new.h"

namespace {

using veltrane::bench::GeneratedDocument;

std::size_t allocationsOf(std::size_t (*work)(std::string_view),
                          const GeneratedDocument& document) {
  work(document.text);  // what is made once a process is made here
  const std::size_t before = veltrane::test::allocations();
  work(document.text);
  return veltrane::test::allocations() - before;
}

TEST(Allocations, ofARowBeyondThoseOfTheParseAreAtMostAHalf) {
  const auto document = veltrane::bench::generateDocument(1'000'000);
  ASSERT_EQ(veltrane::bench::documentToRows(document.text), document.rows);
  const auto rows = allocationsOf(veltrane::bench::documentToRows, document);
  const auto parse = allocationsOf(veltrane::bench::coreParse, document);
  const auto bareParse = allocationsOf(veltrane::bench::bareParse, document);
  std::printf("%zu rows: %zu allocations, %zu of them the parse; a bare parse makes %zu\n",
              document.rows, rows, parse, bareParse);
  ASSERT_GT(parse, 0u);
  EXPECT_LE(rows - parse, document.rows / 2);
  EXPECT_LE(rows, bareParse);
}

TEST(Allocations, ofASmallDocumentWithItsRowsAreFewerThanOfABareParse) {
  const auto document = veltrane::bench::generateDocument(5'000);
  const auto rows = allocationsOf(veltrane::bench::documentToRows, document);
  const auto bareParse = allocationsOf(veltrane::bench::bareParse, document);
  std::printf("%zu rows: %zu allocations; a bare parse makes %zu\n", document.rows, rows,
              bareParse);
  EXPECT_LE(rows, bareParse / 4);
}

}  // namespace
