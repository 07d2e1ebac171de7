#pragma once

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace veltrane::tool {

/// Reads lines on a thread of its own until the input ends or the reader is destroyed.
class LineReader {
 public:
  /// Longer lines are not kept.
  static constexpr std::size_t kLongestLine = std::size_t{8} << 20;

  /// Nothing stands for a line that was too long.
  using Line = std::optional<std::string>;

  /// Called on the reader's thread.
  struct Listener {
    /// What one read brought, in order; never empty.
    std::function<void(std::vector<Line>)> lines;
    std::function<void()> ended;
  };

  /// `fd` stays the caller's.
  LineReader(int fd, Listener listener);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

 private:
  void read();
  bool waitForInput() const;
  void take(const char* bytes, std::size_t count);
  void finishLine();
  void deliver();

  const int fd_;
  const Listener listener_;
  int stop_[2];
  std::string partial_;
  bool tooLong_ = false;
  std::vector<Line> complete_;
  std::thread thread_;
};

}  // namespace veltrane::tool
