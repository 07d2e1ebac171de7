#include "apps/vtflow/termination_signals.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace veltrane::tool {
namespace {

sigset_t endings() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
  return set;
}

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

TerminationSignals::TerminationSignals() {
  auto held = endings();
  sigaddset(&held, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &held, &former_);
}

TerminationSignals::~TerminationSignals() {
  // What arrived meanwhile has been dealt with; it must not strike once the mask is gone.
  auto held = endings();
  sigaddset(&held, SIGPIPE);
  const timespec now{};
  while (sigtimedwait(&held, nullptr, &now) > 0) {
  }
  pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

void TerminationSignals::wait() const {
  const auto set = endings();
  int signal = 0;
  while (sigwait(&set, &signal) != 0) {
  }
}

SignalWatch::SignalWatch(std::function<void()> arrived) {
  const auto set = endings();
  signals_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  if (signals_ < 0) fail("signalfd");
  if (pipe2(stop_, O_CLOEXEC) != 0) fail("pipe");
  thread_ = std::thread([this, arrived = std::move(arrived)] {
    pollfd waited[2] = {{signals_, POLLIN, 0}, {stop_[0], POLLIN, 0}};
    while (poll(waited, 2, -1) < 0 && errno == EINTR) {
    }
    if (waited[0].revents != 0) arrived();
  });
}

SignalWatch::~SignalWatch() {
  ::close(stop_[1]);
  thread_.join();
  ::close(stop_[0]);
  ::close(signals_);
}

}  // namespace veltrane::tool
