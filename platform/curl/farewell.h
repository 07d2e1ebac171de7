#pragma once

#include "platform/curl/libcurl.h"

namespace veltrane::curl {

/// Notes whether a TLS server ended its stream itself. libcurl is content with the bare end of the
/// TCP stream, which anyone on the way can bring about: where the end of the stream is the end of
/// a body, that may cut it short.
class Farewell {
 public:
  Farewell() = default;
  ~Farewell() { detach(); }
  Farewell(const Farewell&) = delete;
  Farewell& operator=(const Farewell&) = delete;

  /// Before the transfer starts.
  void watch(CURL* easy);

  /// After the transfer: false when a body may have been cut short.
  bool vouchesFor(CURL* easy) const;

 private:
  static CURLcode onContext(CURL*, void* context, void* self);

  void detach();

  SSL_CTX* context_ = nullptr;
  bool received_ = false;
};

}  // namespace veltrane::curl
