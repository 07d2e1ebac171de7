#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "platform/curl/farewell.h"
#include "platform/curl/hop.h"
#include "platform/curl/libcurl.h"
#include "platform/curl/trust.h"

namespace veltrane::curl {

class Exchange;

using Clock = std::chrono::steady_clock;

struct ShareDeleter {
  void operator()(CURLSH* share) const { api().share_cleanup(share); }
};
struct MultiDeleter {
  void operator()(CURLM* multi) const { api().multi_cleanup(multi); }
};
struct EasyDeleter {
  void operator()(CURL* easy) const { api().easy_cleanup(easy); }
};
struct ListDeleter {
  void operator()(curl_slist* list) const { api().slist_free_all(list); }
};

/// What all transfers have in common. The worker's thread alone, but for waking the multi handle.
struct Engine {
  explicit Engine(const Options& options);

  // In the order in which libcurl wants them to outlive each other.
  std::unique_ptr<CURLSH, ShareDeleter> share;
  std::unique_ptr<CURLM, MultiDeleter> multi;
  Trust trust;
};

/// One hop under way on a connection of its own. It counts what arrives and notes the last sign of
/// life. The worker's thread alone; ends when destroyed.
class Transfer {
 public:
  /// `request` must outlive the transfer; `owner` comes back with libcurl's messages.
  Transfer(Engine& engine, const Hop& hop, const HTTPRequest& request, Exchange* owner);
  ~Transfer();
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  Clock::time_point lastProgress() const { return lastProgress_; }
  /// Whether what libcurl takes for a response has a complete head and was not cut short.
  bool hasResponse() const { return hasHead_ && farewell_.vouchesFor(easy_.get()); }
  /// Why there is no response, for people; holds nothing that was sent.
  std::string failure(CURLcode result) const;
  long status() const;
  /// Where the response points, absolute; empty when nowhere.
  std::string location() const;
  std::string takeBody() { return std::move(body_); }

 private:
  void setUp(Engine& engine, const Hop& hop, Exchange* owner);
  void setUpSending(const Hop& hop);
  void setUpReceiving();
  void setUpHeaders(const Hop& hop);

  static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent);

  CURLM* multi_;
  const HTTPRequest& request_;
  Farewell farewell_;
  std::unique_ptr<curl_slist, ListDeleter> headers_;
  std::unique_ptr<CURL, EasyDeleter> easy_;
  std::array<char, CURL_ERROR_SIZE> error_{};
  std::string body_;
  std::size_t headerBytes_ = 0;
  bool hasHead_ = false;
  curl_off_t sent_ = 0;
  Clock::time_point lastProgress_ = Clock::now();
};

}  // namespace veltrane::curl
