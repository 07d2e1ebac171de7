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
/// It answers this machine alone, under a name of this machine, and nothing that another site asks
/// for: a browser says whom it asks for, and each form carries the token of its challenge. Works
/// without JavaScript; with it, the page fetches itself and takes over what is new. Any thread.
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

/// Whether this address of a client is one of this machine's own: 127.0.0.0/8 or ::1.
bool isLoopbackAddress(const std::string& address);

}  // namespace veltrane::sandbox
