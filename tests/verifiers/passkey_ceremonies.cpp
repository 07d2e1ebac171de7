// Registers and signs in through the whole client, for every combination of algorithm, attestation
// and verification, and writes the standard's JSON of it to standard output: an array of
// {algorithm, attestation, userVerification, registration, assertions: [three]}.
//
//   passkey_ceremonies FILE
#include <iostream>
#include <optional>
#include <string>

#include "tests/authenticator/device.h"
#include "veltrane/base/json.h"
#include "veltrane/passkeys/webauthn_client.h"

namespace {

using namespace veltrane;
using namespace veltrane::authenticator;
using namespace veltrane::authenticator::testing;

constexpr const char* kRPId = "login.example.com";
constexpr const char* kOrigin = "https://www.login.example.com:8443";

struct Suffixes final : PublicSuffixes {
  bool contains(const std::string& domain) const override { return domain == "com"; }
};

struct Presenter final : PasskeyPresenter {
  explicit Presenter(Person& p) : person(p) {}
  void present(const std::shared_ptr<PasskeySheet>& sheet) override { person.attend(sheet); }
  Person& person;
};

struct Case {
  int algorithm;
  const char* attestation;
  const char* userVerification;
};

class Site {
 public:
  explicit Site(TestDevice& device) : device_(device), client_(parts(device)) {}

  std::string run(const Case& ceremony) {
    const std::string verification =
        R"("userVerification":")" + std::string(ceremony.userVerification) + '"';
    const JSON registration = answer([&](auto callback) {
      client_.credentialsCreate(kRPId, kOrigin, 2, creation(ceremony, verification), callback);
    })["createCredResponse"];
    std::string text = R"({"algorithm":)" + std::to_string(ceremony.algorithm) +
                       R"(,"attestation":")" + ceremony.attestation + "\"," + verification +
                       R"(,"registration":)" + registration.serialized().value() +
                       R"(,"assertions":[)";
    for (int i = 0; i < 3; ++i) {
      const JSON assertion = answer([&](auto callback) {
        client_.credentialsGet(kRPId, kOrigin,
                               request(registration["id"].textValue(), verification), callback);
      });
      text += (i > 0 ? "," : "") + assertion.serialized().value();
    }
    return text + "]}";
  }

 private:
  static WebAuthnClient::Parts parts(TestDevice& device) {
    return {.authenticators =
                [&device] {
                  return std::vector<std::shared_ptr<Authenticator>>{
                      {&device.authenticator(), [](Authenticator*) {}}};
                },
            .presenter = std::make_shared<Presenter>(device.person),
            .suffixes = std::make_shared<Suffixes>()};
  }

  static JSON creation(const Case& ceremony, const std::string& verification) {
    return JSON::parse(
               R"({"challenge":"bWFrZSBhIGNyZWRlbnRpYWwgbm93",
        "rp":{"id":"login.example.com","name":"Example"},
        "user":{"id":"dXNlci0x","name":"alice","displayName":"Alice"},
        "pubKeyCredParams":[{"type":"public-key","alg":)" +
               std::to_string(ceremony.algorithm) + R"(}],"attestation":")" + ceremony.attestation +
               R"(","authenticatorSelection":{"residentKey":"required",)" + verification + "}}")
        .value;
  }

  static JSON request(const std::string& id, const std::string& verification) {
    return JSON::parse(R"({"challenge":"dXNlIGEgY3JlZGVudGlhbCBub3c","rpId":"login.example.com",
        "allowCredentials":[{"type":"public-key","id":")" +
                       id + "\"}]," + verification + "}")
        .value;
  }

  template <typename Start>
  JSON answer(const Start& start) {
    std::optional<JSON> result;
    bool isAnswered = false;
    start([&](std::optional<JSON> json, std::optional<VeltraneFlowError> error) {
      if (error) std::cerr << error->errorDescription() << '\n';
      result = std::move(json);
      isAnswered = true;
    });
    device_.runUntil([&] { return isAnswered; });
    if (!result) std::exit(1);
    return *result;
  }

  TestDevice& device_;
  WebAuthnClient client_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  TestDevice device(argv[1]);
  const TestPlatform platform(device, nullptr);
  Site site(device);
  std::string all;
  for (const int algorithm : {cose::kES256, cose::kEdDSA}) {
    for (const char* attestation : {"none", "direct"}) {
      for (const char* verification : {"required", "discouraged"}) {
        all += (all.empty() ? "" : ",") + site.run({algorithm, attestation, verification});
      }
    }
  }
  std::cout << '[' << all << ']' << std::endl;
}
