#include "apps/sandbox/connections.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace veltrane::sandbox {

namespace {

using Clock = std::chrono::steady_clock;

int remaining(const std::optional<Clock::time_point>& end) {
  if (!end) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now());
  return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

}  // namespace

/// Belongs to a connection, and is freed with it: before its socket is closed, so that a number
/// of the set never means somebody else's descriptor.
struct Connections::Open {
  Connections* owner;
  int socket;
};

Connections::Connections() : stopSignal_(::eventfd(0, EFD_CLOEXEC)) {
  if (stopSignal_ < 0) throw std::runtime_error("Cannot make an event descriptor.");
}

Connections::~Connections() {
  ::close(stopSignal_);
}

int Connections::indexInConnection() {
  static const int index = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, onFree);
  return index;
}

int Connections::indexInContext() {
  static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
  return index;
}

void Connections::watch(SSL_CTX& context) {
  indexInConnection();
  SSL_CTX_set_ex_data(&context, indexInContext(), this);
  SSL_CTX_set_info_callback(&context, onHandshake);
}

void Connections::onHandshake(const SSL* connection, int where, int) {
  // Also called when session tickets follow the handshake proper.
  if ((where & SSL_CB_HANDSHAKE_START) == 0) return;
  if (SSL_get_ex_data(connection, indexInConnection()) != nullptr) return;
  void* owner = SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), indexInContext());
  static_cast<Connections*>(owner)->add(const_cast<SSL*>(connection));
}

void Connections::add(SSL* connection) {
  auto open = std::make_unique<Open>(Open{.owner = this, .socket = SSL_get_fd(connection)});
  const std::lock_guard lock(mutex_);
  if (SSL_set_ex_data(connection, indexInConnection(), open.get()) != 1) return;
  sockets_.insert(open.release()->socket);
  if (stopped_) drop(connection);
}

void Connections::onFree(void*, void* open, CRYPTO_EX_DATA*, int, long, void*) {
  const std::unique_ptr<Open> mine(static_cast<Open*>(open));
  if (mine) mine->owner->remove(*mine);
}

void Connections::remove(const Open& open) {
  const std::lock_guard lock(mutex_);
  sockets_.erase(open.socket);
}

bool Connections::wait(const SSL* connection, std::optional<std::chrono::milliseconds> time) const {
  std::optional<Clock::time_point> end;
  if (time) end = Clock::now() + *time;
  for (;;) {
    std::array<pollfd, 2> watched{pollfd{SSL_get_fd(connection), POLLRDHUP, 0},
                                  pollfd{stopSignal_, POLLIN, 0}};
    const int ready = ::poll(watched.data(), watched.size(), remaining(end));
    if (ready == 0 && remaining(end) == 0) return true;
    if (ready > 0 || (ready < 0 && errno != EINTR)) return false;
  }
}

void Connections::drop(const SSL* connection) {
  ::shutdown(SSL_get_fd(connection), SHUT_RDWR);
}

void Connections::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  const std::uint64_t one = 1;
  // An eventfd takes 2^64 - 1 before a write of it can fail.
  [[maybe_unused]] const ssize_t written = ::write(stopSignal_, &one, sizeof one);
  for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
}

}  // namespace veltrane::sandbox
