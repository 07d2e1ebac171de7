#include "apps/sandbox/vendors/vendors.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "apps/sandbox/decider.h"
#include "apps/sandbox/own_page.h"
#include "apps/sandbox/random_id.h"
#include "apps/sandbox/request_check.h"
#include "apps/sandbox/vendors/client_page.h"
#include "apps/sandbox/vendors/onfido_script.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::size_t kRemembered = 1'000;
constexpr std::size_t kLarge = std::size_t{20} << 20;
constexpr std::chrono::seconds kSlow{3};
constexpr const char* kElsewhere = "https://vendor.example";
constexpr std::string_view kPage = "/web/v4/app";
constexpr std::string_view kForeignPage = "/web/v4/foreign";

std::string now() {
  const std::time_t time = std::time(nullptr);
  std::tm utc{};
  ::gmtime_r(&time, &utc);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.000Z", &utc)};
}

/// The server's own origin, under the name by which it was asked.
std::string originOf(const RecordedRequest& request, int port) {
  const std::string host = request.header("Host");
  return isOwnHost(host, port) ? "https://" + host : serverURL(port);
}

/// The same server under another name, and so another site.
std::string otherOriginOf(const std::string& origin, int port) {
  const bool isName = origin.starts_with("https://localhost");
  return isName ? "https://127.0.0.1:" + std::to_string(port) : serverURL(port);
}

/// A page of that origin which claims that all went well.
std::string strangerOf(const std::string& origin, const std::string& authorizationToken) {
  return origin + std::string(kForeignPage) + "?authorizationToken=" + authorizationToken;
}

Reply redirect(const std::string& url, int status) {
  Reply reply;
  reply.status = status;
  reply.headers = {{"Location", url}};
  return reply;
}

/// An initiate call's answer in trouble.
using Spoil = std::function<void(Reply& reply, json& answer)>;

void spoil(const std::string& trouble, Reply& reply, json& answer) {
  static const std::map<std::string, Spoil> kTroubles = {
      {"slow", [](Reply& r, json&) { r.delay = kSlow; }},
      {"hang", [](Reply& r, json&) { r.noAnswer = true; }},
      {"close", [](Reply& r, json&) { r.closeConnection = true; }},
      {"cut", [](Reply& r, json&) { r.cutAfterBytes = 20; }},
      {"500", [](Reply& r, json&) { r.status = 500; }},
      {"moved", [](Reply& r, json&) { r = redirect(std::string(kElsewhere) + "/", 307); }},
      {"no-redirect", [](Reply&, json& a) { a.erase("redirectUrl"); }},
      {"no-reference", [](Reply&, json& a) { a.erase("transactionReference"); }},
      {"other-host",
       [](Reply&, json& a) { a["redirectUrl"] = std::string(kElsewhere) + std::string(kPage); }},
      {"http",
       [](Reply&, json& a) { a["redirectUrl"] = a["redirectUrl"].get<std::string>().erase(4, 1); }},
  };
  const auto found = kTroubles.find(trouble);
  if (found != kTroubles.end()) found->second(reply, answer);
}

/// What stands behind this beginning; empty when the text begins otherwise.
std::string behind(const std::string& text, std::string_view beginning) {
  return text.starts_with(beginning) ? text.substr(beginning.size()) : std::string();
}

bool isKnown(const std::string& apiToken) {
  return apiToken == "sandbox-token" || apiToken.starts_with("initiate-") ||
         apiToken.starts_with("page-");
}

std::string pathOf(const RecordedRequest& request) {
  return request.path.substr(0, request.path.find('?'));
}

/// The value in a query; empty when it has none of that name. What is asked for here needs no
/// decoding.
std::string queryValue(const RecordedRequest& request, std::string_view name) {
  const std::size_t mark = request.path.find('?');
  std::string_view rest =
      std::string_view(request.path).substr(std::min(mark, request.path.size()));
  while (!rest.empty()) {
    rest.remove_prefix(1);
    const std::size_t end = std::min(rest.find('&'), rest.size());
    const std::string_view entry = rest.substr(0, end);
    const std::size_t equals = entry.find('=');
    if (equals != entry.npos && entry.substr(0, equals) == name) {
      return std::string(entry.substr(equals + 1));
    }
    rest.remove_prefix(end);
  }
  return {};
}

}  // namespace

bool Vendors::isItsPath(const std::string& path) {
  return path.starts_with("/api/") || path.starts_with("/web/") || path.starts_with("/onfido/");
}

Reply Vendors::answer(const RecordedRequest& request, int port) {
  const std::string path = pathOf(request);
  if (isInitiation(path)) return initiate(request, port);
  if (request.method != "GET") throw Refusal("badMethod", "The method must be GET.", 405);
  if (path == kPage) return page(queryValue(request, "authorizationToken"), request, port);
  if (path == kForeignPage) return foreignPage(find(queryValue(request, "authorizationToken")));
  if (const auto asset = clientAsset(path)) return *asset;
  if (const auto script = onfidoScript(path)) return *script;
  throw Refusal("badPath", "There is nothing at this path.", 404);
}

Reply Vendors::initiate(const RecordedRequest& request, int port) {
  const Initiation initiation = checkedInitiation(request);
  const std::string trouble = behind(initiation.apiToken, "initiate-");
  if (!isKnown(initiation.apiToken) || trouble == "401") {
    throw Refusal("unauthorized", "There is no such API token.", 401);
  }
  const Transaction transaction = begin(initiation);
  json answer = {{"timestamp", now()},
                 {"transactionReference", transaction.reference},
                 {"redirectUrl", originOf(request, port) + std::string(kPage) +
                                     "?authorizationToken=" + transaction.authorizationToken +
                                     "&locale=" + initiation.locale}};
  Reply reply;
  reply.verbatim = true;
  spoil(trouble, reply, answer);
  reply.text = answer.dump();
  if (trouble == "html") {
    reply.contentType = "text/html; charset=utf-8";
    reply.text = "<!doctype html>\n<title>Not found</title>\n";
  } else if (trouble == "large") {
    reply.body = Reply::Body::padding;
    reply.size = kLarge;
  }
  return reply;
}

Reply Vendors::page(const std::string& authorizationToken, const RecordedRequest& request,
                    int port) const {
  const Transaction transaction = find(authorizationToken);
  const std::string play = behind(transaction.initiation.apiToken, "page-");
  const std::string other = otherOriginOf(originOf(request, port), port);
  if (play == "moved") return redirect(strangerOf(other, authorizationToken), 302);
  Reply reply = clientPage(transaction, play, other);
  if (play == "hang") reply.noAnswer = true;
  if (play == "cut") reply.cutAfterBytes = 40;
  if (play == "500") reply.status = 500;
  return reply;
}

Transaction Vendors::begin(const Initiation& initiation) {
  Transaction transaction{
      .authorizationToken = randomId(), .reference = randomId(), .initiation = initiation};
  const std::lock_guard lock(mutex_);
  transactions_.push_back(transaction);
  if (transactions_.size() > kRemembered) transactions_.pop_front();
  return transaction;
}

Transaction Vendors::find(const std::string& authorizationToken) const {
  const std::lock_guard lock(mutex_);
  const auto isIt = [&](const Transaction& t) {
    return t.authorizationToken == authorizationToken;
  };
  const auto found = std::find_if(transactions_.begin(), transactions_.end(), isIt);
  if (found == transactions_.end()) {
    throw Refusal("unknownTransaction", "No transaction has this authorization token.", 404);
  }
  return *found;
}

}  // namespace veltrane::sandbox
