// A server's text as the options of a passkey, and its texts as rpId and origin: what is read keeps
// the bounds that authenticators rely on, and the client answers once whatever was sent.
#include "fuzz/world.h"
#include "veltrane/passkeys/webauthn_client.h"
#include "veltrane/passkeys/webauthn_options.h"

namespace {

using namespace veltrane;

struct Unlisted final : PublicSuffixes {
  bool contains(const std::string& /*domain*/) const override { return false; }
};

/// Answers inside the call, with bytes of the request's.
struct Echo final : Authenticator {
  std::string attachment() const override { return "platform"; }
  std::string displayName() const override { return "Echo"; }
  std::optional<bool> holds(const std::string& /*rpId*/,
                            const std::vector<std::string>& /*allowed*/) const override {
    return true;
  }
  bool canMake(const MakeCredential& /*request*/) const override { return true; }
  std::shared_ptr<void> make(MakeCredential request, std::shared_ptr<PasskeySheet> /*sheet*/,
                             Made made) override {
    fuzz::require(!request.userId.empty() && request.userId.size() <= 64);
    fuzz::require(!request.algorithms.empty() && !request.rpId.empty());
    fuzz::require(JSON::parse(request.clientDataJSON).ok());
    made(MadeCredential{.id = request.userId, .publicKey = request.clientDataJSON});
    return nullptr;
  }
  std::shared_ptr<void> get(GetAssertion request, std::shared_ptr<PasskeySheet> /*sheet*/,
                            Got got) override {
    for (const auto& id : request.allowed) fuzz::require(!id.empty());
    fuzz::require(request.timeout.count() >= 1'000 && request.timeout.count() <= 600'000);
    got(Assertion{.id = request.rpId});
    return nullptr;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const JSONParseResult parsed = JSON::parse(fuzz::asText(data, size));
  if (!parsed.ok()) return 0;
  fuzz::World world;
  WebAuthnClient client(
      {.authenticators =
           [] { return std::vector<std::shared_ptr<Authenticator>>{std::make_shared<Echo>()}; },
       .presenter = nullptr,
       .suffixes = std::make_shared<Unlisted>()});
  const std::string rpId = parsed.value["rpId"].textValue();
  const std::string origin = parsed.value["origin"].textValue();
  const auto ask = [&](auto&& call) {
    int answers = 0;
    call([&](std::optional<JSON> result, std::optional<VeltraneFlowError> error) {
      fuzz::require(result.has_value() != error.has_value());
      if (result) fuzz::require(result->serialized().has_value());
      ++answers;
    });
    world.mainQueue->run();
    fuzz::require(answers == 1);
  };
  ask([&](auto answer) { client.credentialsCreate(rpId, origin, 2, parsed.value, answer); });
  ask([&](auto answer) { client.credentialsGet(rpId, origin, parsed.value, answer); });
  ask([&](auto answer) {
    client.credentialsGet("example.com", "https://example.com", parsed.value, answer);
  });
  return 0;
}
