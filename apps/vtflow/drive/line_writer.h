#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "apps/vtflow/drive/event.h"

namespace veltrane::tool {

/// The driver's output: whole lines, each on its way before `write` returns. Any thread.
class LineWriter {
 public:
  /// `fd` stays the caller's. `lost` is called once, on the writing thread, when nobody reads any
  /// more; what it writes is dropped.
  LineWriter(int fd, std::function<void()> lost) : fd_(fd), lost_(std::move(lost)) {}

  void write(const Event& event);
  /// Writes the last line: later events are dropped.
  void close(const Event& last);

 private:
  void put(std::string line, bool isLast);

  std::mutex mutex_;
  const int fd_;
  const std::function<void()> lost_;
  bool open_ = true;
};

}  // namespace veltrane::tool
