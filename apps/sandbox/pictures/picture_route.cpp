#include "apps/sandbox/pictures/picture_route.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>

#include "apps/sandbox/pictures/encoders.h"
#include "apps/sandbox/pictures/picture_file.h"
#include "apps/sandbox/request_check.h"

namespace veltrane::sandbox {
namespace {

constexpr unsigned kClaimedSide = 60'000;
constexpr std::size_t kFourGigabytes = std::size_t{4} << 30;
constexpr int kDefaultDelayMs = 3000;
constexpr int kMaxDelayMs = 600'000;
constexpr std::string_view kSlow = "slow";

using Trouble = void (*)(Reply& reply);

/// The milliseconds of "slow" or "slow-N"; -1 when the name is neither.
int delayOf(std::string_view name) {
  if (!name.starts_with(kSlow)) return -1;
  name.remove_prefix(kSlow.size());
  if (name.empty()) return kDefaultDelayMs;
  if (!name.starts_with('-')) return -1;
  name.remove_prefix(1);
  int delay = -1;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), delay);
  const bool whole = error == std::errc() && end == name.data() + name.size();
  return whole && delay <= kMaxDelayMs ? delay : -1;
}

const std::map<std::string, Trouble>& troubles() {
  static const std::map<std::string, Trouble> all{
      {"cut", [](Reply& reply) { reply.cutAfterBytes = reply.text.size() / 2; }},
      {"torn", [](Reply& reply) { reply.text.resize(reply.text.size() / 2); }},
      {"html",
       [](Reply& reply) {
         reply.contentType = "text/html";
         reply.text = "<!doctype html><title>Sign in</title><p>Please sign in to this network.";
       }},
      {"claims", [](Reply& reply) { reply.text = pngThatClaims(kClaimedSide, kClaimedSide); }},
      {"4gb",
       [](Reply& reply) {
         reply.body = Reply::Body::zeros;
         reply.size = kFourGigabytes;
       }},
      {"endless", [](Reply& reply) { reply.body = Reply::Body::endless; }},
      {"hang", [](Reply& reply) { reply.noAnswer = true; }},
      {"close", [](Reply& reply) { reply.closeConnection = true; }},
      {"empty", [](Reply& reply) { reply.text.clear(); }}};
  return all;
}

void redirect(Reply& reply, const std::string& file, int serverPort) {
  reply.status = 302;
  reply.text.clear();
  reply.headers.emplace_back(
      "Location", "http://localhost:" + std::to_string(serverPort) + "/pictures/" + file);
}

bool make(Reply& reply, const std::string& trouble, const std::string& file, int serverPort) {
  if (const int delay = delayOf(trouble); delay >= 0) {
    reply.delay = std::chrono::milliseconds(delay);
    return true;
  }
  if (trouble == "http") {
    redirect(reply, file, serverPort);
    return true;
  }
  const auto known = troubles().find(trouble);
  if (known == troubles().end()) return false;
  known->second(reply);
  return true;
}

}  // namespace

Reply pictureReply(const std::vector<std::string>& segments, int serverPort) {
  const bool hasTrouble = segments.size() == 2;
  const auto file = segments.empty() ? std::nullopt : pictureFile(segments.back());
  if (!file || segments.size() > 2) {
    throw Refusal("unknownPicture", "There is no picture of this name.", 404);
  }
  Reply reply;
  reply.contentType = file->contentType;
  reply.text = file->bytes;
  reply.verbatim = true;
  if (hasTrouble && !make(reply, segments.front(), segments.back(), serverPort)) {
    throw Refusal("unknownPicture", "There is no trouble of this name.", 404);
  }
  return reply;
}

}  // namespace veltrane::sandbox
