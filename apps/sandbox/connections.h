#pragma once

#include <openssl/ssl.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <set>

namespace veltrane::sandbox {

/// The open connections of a server, so that stopping it need not wait for clients that take their
/// time or for answers that are held back. Any thread. Must outlive every connection.
class Connections {
 public:
  Connections();
  ~Connections();
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  /// From now on every connection made with this context belongs here.
  void watch(SSL_CTX& context);

  /// Waits for this time, or for ever. False, at once, when the client leaves or the server stops.
  bool wait(const SSL* connection, std::optional<std::chrono::milliseconds> time) const;

  /// Ends the connection without another byte.
  static void drop(const SSL* connection);

  /// Ends all connections, those to come included, and every wait.
  void stop();

 private:
  struct Open;
  static void onHandshake(const SSL* connection, int where, int result);
  static void onFree(void* parent, void* open, CRYPTO_EX_DATA* data, int index, long, void*);
  static int indexInConnection();
  static int indexInContext();
  void add(SSL* connection);
  void remove(const Open& open);

  std::mutex mutex_;
  std::set<int> sockets_;
  bool stopped_ = false;
  int stopSignal_;  // an eventfd, readable once stopped
};

}  // namespace veltrane::sandbox
