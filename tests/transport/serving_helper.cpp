// A server in a process of its own: what it received is not in its client's memory. Tells its
// process id, the file of its authority and its address, and ends after one connection.
#include <unistd.h>

#include <cstdio>

#include "tests/support/tls_test_server.h"

int main() {
  veltrane::testing::TlsTestServer server;
  server.route("/", [](const auto& request, auto& connection) {
    connection.respond(200, std::to_string(request.body.size()));
  });
  std::printf("%d\n%s\n%s\n", getpid(), server.authorityFile().c_str(), server.url("/").c_str());
  std::fflush(stdout);
  return server.waitForRequests(1) && server.waitUntilIdle() ? 0 : 1;
}
