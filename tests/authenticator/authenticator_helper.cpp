// What the tests need another process for: an authenticator with someone who agrees to everything.
//
//   authenticator_helper FILE make COUNT PREFIX   a line for each credential: its id in Base64
//   authenticator_helper FILE get ID COUNT        a line for each signature: its counter
//   authenticator_helper FILE pin PIN             tries a PIN once, then waits to be killed
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "tests/authenticator/device.h"
#include "veltrane/base/base64.h"

namespace {

using namespace veltrane;
using namespace veltrane::authenticator;
using namespace veltrane::authenticator::testing;

int makeMany(TestDevice& device, int count, const std::string& prefix) {
  for (int i = 0; i < count; ++i) {
    const auto made = device.make(makeRequest(prefix + std::to_string(i)));
    if (!std::holds_alternative<MadeCredential>(made)) return 3;
    std::cout << base64URLEncoded(std::get<MadeCredential>(made).id) << std::endl;
  }
  return 0;
}

int getMany(TestDevice& device, const std::string& id, int count) {
  for (int i = 0; i < count; ++i) {
    const auto got = device.get(getRequest({id}));
    if (!std::holds_alternative<Assertion>(got)) return 3;
    std::cout << counterOf(std::get<Assertion>(got).authenticatorData) << std::endl;
  }
  return 0;
}

int tryPIN(TestDevice& device, const std::string& pin) {
  device.person.pin = pin;
  int asked = 0;
  device.person.look = [&](PasskeySheet& sheet) {
    return sheet.question().step == PasskeyStep::consent || ++asked == 1;
  };
  auto request = makeRequest();
  request.userVerification = Requirement::required;
  device.make(request);
  return 3;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;
  const std::string act = argv[2];
  TestDevice device(argv[1]);
  const TestPlatform platform(device, nullptr);
  std::cout << getpid() << std::endl;
  if (act == "pin") return tryPIN(device, argv[3]);
  if (argc < 5) return 2;
  if (act == "make") return makeMany(device, std::atoi(argv[3]), argv[4]);
  return getMany(device, *base64URLDecoded(argv[3]), std::atoi(argv[4]));
}
