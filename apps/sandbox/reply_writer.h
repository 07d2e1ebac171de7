#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "apps/sandbox/flow.h"

namespace httplib {
struct Response;
}

namespace veltrane::sandbox {

/// Piece of the JSON that `reply` generates, from `offset`, at most `most` bytes.
std::string generatedPiece(const Reply& reply, std::size_t offset, std::size_t most);

/// Puts a rule's reply into a response, cut short where the rule says so. `text`: the reply's text
/// with its placeholders filled in.
void writeReply(const Reply& reply, std::string text, httplib::Response& response);

/// Puts an error body of the server's own into a response.
void writeError(const std::string& code, const std::string& message, int status,
                httplib::Response& response);

}  // namespace veltrane::sandbox
