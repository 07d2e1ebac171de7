#include "apps/vtflow/drive/line_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <thread>

namespace veltrane::tool {
namespace {

TEST(LineWriter, othersMayWriteWhileOneIsToldThatNobodyReads) {
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[0]);
  int told = 0;
  std::optional<LineWriter> out;
  out.emplace(ends[1], [&] {
    ++told;
    // Whoever is told may wait for a thread that writes.
    std::thread([&] { out->write(Event("log")); }).join();
  });
  out->write(Event("hello"));
  out->write(Event("log"));
  out->close(Event("bye"));
  EXPECT_EQ(told, 1);
  ::close(ends[1]);
  std::signal(SIGPIPE, before);
}

}  // namespace
}  // namespace veltrane::tool
