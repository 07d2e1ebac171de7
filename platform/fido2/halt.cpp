#include "platform/fido2/halt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>

namespace veltrane::fido2 {
namespace {

using Clock = std::chrono::steady_clock;

int remaining(Clock::time_point start, std::chrono::milliseconds limit) {
  if (limit.count() < 0) return -1;
  const auto left = limit - std::chrono::duration_cast<decltype(limit)>(Clock::now() - start);
  return static_cast<int>(
      std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

}  // namespace

// Without an event (no descriptors left) a wait ends by its time alone.
Halt::Halt() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Halt::~Halt() {
  if (event_ >= 0) close(event_);
}

void Halt::request() {
  requested_ = true;
  const std::uint64_t one = 1;
  if (event_ >= 0) [[maybe_unused]]
    const auto written = write(event_, &one, sizeof(one));
}

Halt::Wake Halt::wait(int fd, std::chrono::milliseconds limit) const {
  const auto start = Clock::now();
  for (;;) {
    if (requested_) return Wake::halted;
    pollfd both[] = {{.fd = event_, .events = POLLIN}, {.fd = fd, .events = POLLIN}};
    const int count = poll(both, 2, remaining(start, limit));
    if (count < 0 && errno != EINTR) return Wake::readable;  // let the read tell what is wrong
    if (count == 0) return Wake::late;
    if (count > 0 && both[1].revents != 0 && both[0].revents == 0) return Wake::readable;
  }
}

}  // namespace veltrane::fido2
