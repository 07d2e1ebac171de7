#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

#include "apps/vtflow/drive/line_writer.h"
#include "veltrane/network/http_transport.h"

namespace veltrane::tool {

/// A transport that tells of its traffic: a "request" event before each exchange, an "answer" after
/// it, and how many are under way. An exchange that nobody waits for any more is told as one
/// without a response.
class WatchedTransport final : public HTTPTransport {
 public:
  /// `settled` is called on any thread after an exchange has ended and its completion has returned.
  WatchedTransport(std::shared_ptr<HTTPTransport> inner, std::shared_ptr<LineWriter> out,
                   std::function<void()> settled);

  [[nodiscard]] std::unique_ptr<HTTPRequestHandle> send(HTTPRequest request,
                                                        Completion completion) override;
  std::vector<std::shared_ptr<HTTPTask>> tasks() const override { return inner_->tasks(); }

  /// Ends all exchanges in silence and waits for completions that run. Nothing is to be sent or
  /// listed afterwards.
  void stop() { inner_.reset(); }

  /// Exchanges of that purpose whose completions have not returned. Any thread.
  std::size_t underWay(RequestPurpose purpose) const;

 private:
  struct Watch;
  class Exchange;
  class Handle;

  std::shared_ptr<HTTPTransport> inner_;
  std::shared_ptr<Watch> watch_;
};

}  // namespace veltrane::tool
