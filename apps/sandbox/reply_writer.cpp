#include "apps/sandbox/reply_writer.h"

#include <httplib.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace veltrane::sandbox {
namespace {

constexpr std::size_t kPiece = 64 * 1024;

/// A body as a run of one byte repeated, with something before and behind.
struct Shape {
  std::string_view head;
  char first;
  std::size_t firstCount;
  char second;
  std::size_t secondCount;
  std::string_view tail;

  std::size_t size() const { return head.size() + firstCount + secondCount + tail.size(); }

  char at(std::size_t i) const {
    if (i < head.size()) return head[i];
    i -= head.size();
    if (i < firstCount) return first;
    i -= firstCount;
    if (i < secondCount) return second;
    return tail[i - secondCount];
  }
};

Shape shapeOf(const Reply& reply) {
  constexpr std::string_view paddingHead = "{\"padding\":\"";
  constexpr std::string_view paddingTail = "\"}";
  if (reply.body == Reply::Body::padding) {
    const std::size_t around = paddingHead.size() + paddingTail.size();
    return {paddingHead, 'x', reply.size - around, 'x', 0, paddingTail};
  }
  const std::size_t lists = reply.size - 1;
  return {"{\"nested\":", '[', lists, ']', lists, "}"};
}

using Read = std::function<std::string(std::size_t offset, std::size_t most)>;

/// Announces `size` bytes, and gives up after `end` of them. A body from a provider is also sent as
/// it is: httplib compresses no other way for clients that allow it.
void provide(httplib::Response& response, const std::string& contentType, std::size_t size,
             std::size_t end, Read read) {
  response.set_content_provider(
      size, contentType,
      [end, read = std::move(read)](std::size_t offset, std::size_t length,
                                    httplib::DataSink& sink) {
        if (offset >= end) return false;
        const std::string piece = read(offset, std::min({length, kPiece, end - offset}));
        return sink.write(piece.data(), piece.size());
      });
}

void provideText(httplib::Response& response, const Reply& reply, std::string text,
                 std::size_t end) {
  const std::size_t size = text.size();
  provide(response, reply.contentType, size, end,
          [text = std::move(text)](std::size_t offset, std::size_t most) {
            return text.substr(offset, most);
          });
}

std::string withZeros(const std::string& text, std::size_t offset, std::size_t most) {
  std::string piece;
  if (offset < text.size()) piece = text.substr(offset, most);
  piece.resize(most, '\0');
  return piece;
}

/// Without a length: in chunks, until the client has had enough.
void provideEndless(httplib::Response& response, const std::string& contentType, std::string text) {
  response.set_chunked_content_provider(
      contentType, [text = std::move(text)](std::size_t offset, httplib::DataSink& sink) {
        const std::string piece = withZeros(text, offset, kPiece);
        return sink.write(piece.data(), piece.size());
      });
}

void provideGenerated(httplib::Response& response, const Reply& reply, std::size_t end) {
  provide(response, reply.contentType, shapeOf(reply).size(), end,
          [reply](std::size_t offset, std::size_t most) {
            return generatedPiece(reply, offset, most);
          });
}

void provideZeros(httplib::Response& response, const Reply& reply, std::string text,
                  std::size_t end) {
  provide(response, reply.contentType, reply.size, end,
          [text = std::move(text)](std::size_t offset, std::size_t most) {
            return withZeros(text, offset, most);
          });
}

}  // namespace

std::string generatedPiece(const Reply& reply, std::size_t offset, std::size_t most) {
  const Shape shape = shapeOf(reply);
  std::string piece(std::min(most, shape.size() - offset), '\0');
  std::generate(piece.begin(), piece.end(), [&] { return shape.at(offset++); });
  return piece;
}

void writeReply(const Reply& reply, std::string text, httplib::Response& response) {
  response.status = reply.status;
  for (const auto& [name, value] : reply.headers) response.set_header(name, value);
  const std::size_t end = reply.cutAfterBytes.value_or(std::numeric_limits<std::size_t>::max());
  if (reply.body == Reply::Body::endless) {
    provideEndless(response, reply.contentType, std::move(text));
  } else if (reply.body == Reply::Body::zeros) {
    provideZeros(response, reply, std::move(text), end);
  } else if (reply.body != Reply::Body::text) {
    provideGenerated(response, reply, end);
  } else if (text.empty()) {
    response.set_header("Content-Type", reply.contentType);
  } else {
    provideText(response, reply, std::move(text), end);
  }
}

void writeError(const std::string& code, const std::string& message, int status,
                httplib::Response& response) {
  const nlohmann::json body{{"message", message}, {"code", code}, {"httpResponseCode", status}};
  response.status = status;
  // What a client sent may be quoted, and need not be UTF-8.
  response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                       "application/json");
}

}  // namespace veltrane::sandbox
