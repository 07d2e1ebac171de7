// A server's bytes as the body of an error status: the error that the host is handed, and what of
// the body may be printed.
#include "fuzz/world.h"
#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/network/network_manager.h"

namespace {

using namespace veltrane;

void requireMasked(const JSON& value) {
  const console::SecretNames secrets = {"password"};
  const JSON masked = console::masked(value, secrets);
  fuzz::requireRoundTrip(masked);
  fuzz::require(console::masked(masked, secrets) == masked);
  for (const char* secret : {"token", "password"}) {
    fuzz::require(!masked.contains(secret) || masked[secret].text() == console::kMask);
  }
  console::print("body ", value, secrets);
}

void requireError(const VeltraneFlowError& error) {
  (void)error.errorDescription();
  fuzz::require(!error.reasonName().empty());
  if (error.details) fuzz::requireRoundTrip(*error.details);
}

void requireErrorOfRequest(fuzz::World& world, std::string_view body) {
  std::size_t calls = 0;
  const auto handle = NetworkManager::getRequest(
      NetworkAPIRequestFor({.endpoint = SDKEndpoint{"company"}}),
      [&](std::optional<std::string> answer, std::optional<VeltraneFlowError> error) {
        ++calls;
        fuzz::require(!answer && error);
        requireError(*error);
      });
  world.transport->answer(400, std::string(body));
  fuzz::require(calls == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view body = fuzz::asText(data, size);
  fuzz::World world;
  requireErrorOfRequest(world, body);
  const JSONParseResult parsed = JSON::parse(body);
  if (!parsed.ok()) return 0;
  fuzz::requireRoundTrip(parsed.value);
  requireError(ConfigureAPIResponseError::getError(parsed.value));
  requireMasked(parsed.value);
  return 0;
}
