#include "apps/vtflow/drive/line_reader.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace veltrane::tool {

LineReader::LineReader(int fd, Listener listener) : fd_(fd), listener_(std::move(listener)) {
  if (pipe2(stop_, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  thread_ = std::thread([this] { read(); });
}

LineReader::~LineReader() {
  ::close(stop_[1]);
  thread_.join();
  ::close(stop_[0]);
}

void LineReader::read() {
  std::array<char, 65536> buffer;
  while (waitForInput()) {
    const auto count = ::read(fd_, buffer.data(), buffer.size());
    if (count > 0) {
      take(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
      if (!partial_.empty() || tooLong_) finishLine();
      deliver();
      return listener_.ended();
    }
  }
}

/// False once the reader is to stop.
bool LineReader::waitForInput() const {
  pollfd waited[2] = {{fd_, POLLIN, 0}, {stop_[0], POLLIN, 0}};
  while (poll(waited, 2, -1) < 0) {
    if (errno != EINTR) return false;
  }
  return waited[1].revents == 0;
}

void LineReader::take(const char* bytes, std::size_t count) {
  const char* const end = bytes + count;
  while (bytes != end) {
    const auto rest = static_cast<std::size_t>(end - bytes);
    const auto* const lineBreak = static_cast<const char*>(std::memchr(bytes, '\n', rest));
    const auto length = lineBreak ? static_cast<std::size_t>(lineBreak - bytes) : rest;
    tooLong_ = tooLong_ || partial_.size() + length > kLongestLine;
    if (!tooLong_) partial_.append(bytes, length);
    if (lineBreak) finishLine();
    bytes += lineBreak ? length + 1 : length;
  }
  deliver();
}

void LineReader::finishLine() {
  complete_.push_back(tooLong_ ? Line() : Line(std::move(partial_)));
  partial_.clear();
  tooLong_ = false;
}

void LineReader::deliver() {
  if (!complete_.empty()) listener_.lines(std::exchange(complete_, {}));
}

}  // namespace veltrane::tool
