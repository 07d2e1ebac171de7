#include "apps/vtflow/drive/line_writer.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace veltrane::tool {
namespace {

void waitUntilWritable(int fd) {
  pollfd ready{fd, POLLOUT, 0};
  poll(&ready, 1, -1);
}

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = ::write(fd, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      waitUntilWritable(fd);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace

void LineWriter::write(const Event& event) {
  auto line = event.line();
  const std::lock_guard lock(mutex_);
  writeLocked(std::move(line));
}

void LineWriter::close(const Event& last) {
  const std::lock_guard lock(mutex_);
  writeLocked(last.line());
  open_ = false;
}

void LineWriter::writeLocked(std::string line) {
  if (!open_) return;
  line += '\n';
  open_ = writeAll(fd_, line);
  if (!open_ && lost_) lost_();
}

}  // namespace veltrane::tool
