#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/authenticator/credential_store.h"
#include "tests/authenticator/device.h"
#include "tests/support/fakes.h"

namespace veltrane::authenticator::testing {

/// A folder of its own for each test, a device on it, and the console captured.
class AuthenticatorTest : public ::testing::Test {
 protected:
  AuthenticatorTest();
  ~AuthenticatorTest() override;

  std::filesystem::path folder_;
  std::filesystem::path file_;
  TestDevice device_;
  std::shared_ptr<veltrane::testing::RecordingConsole> console_ =
      std::make_shared<veltrane::testing::RecordingConsole>();

  std::vector<PasskeyEntry> stored() const;
  /// The bytes of every file in the folder.
  std::string everything() const;

 private:
  TestPlatform platform_;
};

/// Fails the test when there is an error instead.
template <typename Value>
Value valueOf(PasskeyResult<Value> result) {
  if (auto* value = std::get_if<Value>(&result)) return std::move(*value);
  const auto& error = std::get<PasskeyError>(result);
  ADD_FAILURE() << "failure " << int(error.failure) << ": " << error.cause;
  return {};
}

/// The failure; fails the test when there is none.
template <typename Value>
PasskeyError errorOf(const PasskeyResult<Value>& result) {
  if (const auto* error = std::get_if<PasskeyError>(&result)) return *error;
  ADD_FAILURE() << "there is no error";
  return {};
}

/// Whether OpenSSL finds the signature right.
bool verifies(const std::string& spki, int algorithm, const std::string& message,
              const std::string& signature);
/// That of an assertion, over its data and the hash of the request's client data.
bool verifies(const MadeCredential& made, const GetAssertion& request, const Assertion& assertion);

bool hasFlag(const std::string& authenticatorData, std::uint8_t flag);

std::string readFile(const std::filesystem::path& path);

}  // namespace veltrane::authenticator::testing
