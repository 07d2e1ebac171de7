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
  put(event.line(), false);
}

void LineWriter::close(const Event& last) {
  put(last.line(), true);
}

void LineWriter::put(std::string line, bool isLast) {
  line += '\n';
  {
    const std::lock_guard lock(mutex_);
    if (!open_) return;
    const bool isWritten = writeAll(fd_, line);
    open_ = isWritten && !isLast;
    if (isWritten) return;
  }
  // Without the lock: whoever is told may wait for another thread, which may be about to write.
  if (lost_) lost_();
}

}  // namespace veltrane::tool
