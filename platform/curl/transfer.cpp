#include "platform/curl/transfer.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <string_view>

namespace veltrane::curl {
namespace {

constexpr std::size_t kMaxHeaderBytes = std::size_t{256} << 10;

// libcurl gives up connecting by itself after some minutes; the exchange's own time-outs rule here.
constexpr long kNeverMilliseconds = std::numeric_limits<int>::max();

bool carriesBody(const Hop& hop) {
  return hop.withBody || hop.method == "POST" || hop.method == "PUT" || hop.method == "PATCH";
}

/// On one line, whatever a server had put into a message.
std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, ' ');
  return text;
}

}  // namespace

Engine::Engine(const Options& options)
    : share(api().share_init()), multi(api().multi_init()), trust(options) {
  if (!share || !multi) throw std::runtime_error("libcurl could not be started");
  api().share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
  api().share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
}

Transfer::Transfer(Engine& engine, const Hop& hop, const HTTPRequest& request, Exchange* owner)
    : multi_(engine.multi.get()), request_(request), easy_(api().easy_init()) {
  if (!easy_) throw std::bad_alloc();
  setUp(engine, hop, owner);
  setUpSending(hop);
  setUpHeaders(hop);
  setUpReceiving();
  api().multi_add_handle(multi_, easy_.get());
}

Transfer::~Transfer() {
  api().multi_remove_handle(multi_, easy_.get());
}

void Transfer::setUp(Engine& engine, const Hop& hop, Exchange* owner) {
  CURL* easy = easy_.get();
  api().easy_setopt(easy, CURLOPT_PRIVATE, owner);
  api().easy_setopt(easy, CURLOPT_ERRORBUFFER, error_.data());
  api().easy_setopt(easy, CURLOPT_SHARE, engine.share.get());
  engine.trust.apply(easy);
  farewell_.watch(easy);
  api().easy_setopt(easy, CURLOPT_URL, hop.url.c_str());
  api().easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "https,http");
  api().easy_setopt(easy, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
  api().easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  api().easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
  api().easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
  api().easy_setopt(easy, CURLOPT_TCP_NODELAY, 1L);
  api().easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  api().easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, kNeverMilliseconds);
  // A look-up that hangs must not hold up the thread when its exchange ends.
  api().easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  const auto origin = originOf(hop.url);
  if (origin && origin->isLoopback()) api().easy_setopt(easy, CURLOPT_PROXY, "");
}

void Transfer::setUpSending(const Hop& hop) {
  CURL* easy = easy_.get();
  if (carriesBody(hop)) {
    const bool hasText = hop.withBody && request_.body;
    api().easy_setopt(easy, CURLOPT_POST, 1L);
    api().easy_setopt(easy, CURLOPT_POSTFIELDS, hasText ? request_.body->data() : "");
    api().easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                      static_cast<curl_off_t>(hasText ? request_.body->size() : 0));
  }
  api().easy_setopt(easy, CURLOPT_CUSTOMREQUEST, hop.method.c_str());
}

void Transfer::setUpHeaders(const Hop& hop) {
  const auto append = [this](const std::string& line) {
    curl_slist* list = api().slist_append(headers_.get(), line.c_str());
    if (!list) throw std::bad_alloc();
    (void)headers_.release();
    headers_.reset(list);
  };
  // libcurl's own additions, unless the request names them: waiting for a "100 Continue" costs a
  // round trip or a second, and a body is not a form.
  append("Expect:");
  append("Content-Type:");
  for (const auto& [name, value] : hop.headers) {
    append(value.empty() ? name + ";" : name + ": " + value);
  }
  api().easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get());
}

void Transfer::setUpReceiving() {
  CURL* easy = easy_.get();
  constexpr auto most = static_cast<std::size_t>(std::numeric_limits<curl_off_t>::max());
  // Fails on an announced length; zero would mean no limit, there the first byte fails.
  api().easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE,
                    static_cast<curl_off_t>(std::min(request_.maxBodySize, most)));
  api().easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
  api().easy_setopt(easy, CURLOPT_WRITEDATA, this);
  api().easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
  api().easy_setopt(easy, CURLOPT_HEADERDATA, this);
  api().easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &Transfer::onProgress);
  api().easy_setopt(easy, CURLOPT_XFERINFODATA, this);
  api().easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
}

std::size_t Transfer::onHeader(char* data, std::size_t size, std::size_t count, void* self) {
  auto* transfer = static_cast<Transfer*>(self);
  const std::string_view line(data, size * count);
  if (line == "\r\n" || line == "\n") transfer->hasHead_ = transfer->status() >= 200;
  transfer->lastProgress_ = Clock::now();
  transfer->headerBytes_ += line.size();
  return transfer->headerBytes_ > kMaxHeaderBytes ? 0 : line.size();
}

std::size_t Transfer::onBody(char* data, std::size_t size, std::size_t count, void* self) {
  auto* transfer = static_cast<Transfer*>(self);
  const std::size_t length = size * count;
  if (length > transfer->request_.maxBodySize - transfer->body_.size()) return 0;
  transfer->lastProgress_ = Clock::now();
  transfer->body_.append(data, length);
  return length;
}

int Transfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
  auto* transfer = static_cast<Transfer*>(self);
  if (sent != transfer->sent_) {
    transfer->sent_ = sent;
    transfer->lastProgress_ = Clock::now();
  }
  return 0;
}

std::string Transfer::failure(CURLcode result) const {
  switch (result) {
    case CURLE_OK:
      return "the connection ended before the response did";
    case CURLE_WRITE_ERROR:
    case CURLE_FILESIZE_EXCEEDED:
      return "it is too large";
    default:
      return printable(error_.front() ? error_.data() : api().easy_strerror(result));
  }
}

long Transfer::status() const {
  long status = 0;
  api().easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

std::string Transfer::location() const {
  char* url = nullptr;
  api().easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &url);
  return url ? url : "";
}

}  // namespace veltrane::curl
