#include "tests/authenticator/device.h"

#include <stdexcept>
#include <utility>

#include "platform/authenticator/software_key_keeper.h"

namespace veltrane::authenticator::testing {
namespace {

Platform platformOf(const TestDevice& device, std::shared_ptr<ConsoleSink> console) {
  Platform platform;
  platform.mainQueue = device.loop;
  platform.console = std::move(console);
  return platform;
}

template <typename Value>
Value taken(std::optional<Value> value) {
  if (!value) throw std::runtime_error("The authenticator did not answer.");
  return std::move(*value);
}

}  // namespace

KeyKeeperFactory keeperOf(char fill, std::string name) {
  return [fill, name](const StorePlace& /*store*/) {
    return std::make_unique<SoftwareKeyKeeper>(
        name, Secret(std::string(SoftwareKeyKeeper::kWrappingKeySize, fill)));
  };
}

TestDevice::TestDevice(std::filesystem::path file, std::vector<KeyKeeperFactory> keepers,
                       StretchCost cost)
    : options_{.file = std::move(file), .keepers = std::move(keepers), .cost = cost} {
  restart();
}

void TestDevice::restart() {
  authenticator_.reset();
  authenticator_ = std::make_unique<PlatformAuthenticator>(options_);
}

PasskeyResult<MadeCredential> TestDevice::make(const MakeCredential& request) {
  std::optional<PasskeyResult<MadeCredential>> result;
  const auto handle = authenticator_->make(
      request, person.sheet(), [&](PasskeyResult<MadeCredential> made) { result = made; });
  runUntil([&] { return result.has_value(); });
  return taken(std::move(result));
}

PasskeyResult<Assertion> TestDevice::get(const GetAssertion& request) {
  std::optional<PasskeyResult<Assertion>> result;
  const auto handle = authenticator_->get(request, person.sheet(),
                                          [&](PasskeyResult<Assertion> got) { result = got; });
  runUntil([&] { return result.has_value(); });
  return taken(std::move(result));
}

TestPlatform::TestPlatform(TestDevice& device, std::shared_ptr<ConsoleSink> console)
    : device_(device), scope_(platformOf(device, std::move(console))) {}

MakeCredential makeRequest(std::string userId, std::string userName) {
  return {.clientDataJSON = R"({"type":"webauthn.create"})",
          .rpId = "example.com",
          .rpName = "Example",
          .userId = std::move(userId),
          .userName = std::move(userName),
          .userDisplayName = "Alice",
          .algorithms = {cose::kES256},
          .userVerification = Requirement::discouraged,
          .residentKey = Requirement::required};
}

GetAssertion getRequest(std::vector<std::string> allowed) {
  return {.clientDataJSON = R"({"type":"webauthn.get"})",
          .rpId = "example.com",
          .allowed = std::move(allowed),
          .userVerification = Requirement::discouraged};
}

std::uint32_t counterOf(const std::string& authenticatorData) {
  std::uint32_t counter = 0;
  for (int i = 33; i < 37; ++i) {
    counter = counter << 8 | static_cast<unsigned char>(authenticatorData.at(i));
  }
  return counter;
}

}  // namespace veltrane::authenticator::testing
