#pragma once

#include <string>

#include "apps/sandbox/challenges.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace veltrane::sandbox {

/// "/approve", the page of the second device: the open challenges, each with a yes and a no.
///
/// Held to the rules of own_page.h, and each form carries the token of its challenge. Works without
/// JavaScript; with it, the page fetches itself and takes over what is new. Any thread.
class ApprovePage {
 public:
  /// `challenges` must outlive the page.
  explicit ApprovePage(Challenges& challenges) : challenges_(challenges) {}

  static bool isItsPath(const std::string& path);

  /// `port`: of the server.
  void answer(const httplib::Request& request, int port, httplib::Response& response);

 private:
  void answerForm(const httplib::Request& request, httplib::Response& response);
  void show(const httplib::Request& request, httplib::Response& response) const;

  Challenges& challenges_;
};

}  // namespace veltrane::sandbox
