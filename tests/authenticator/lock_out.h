#pragma once

#include <gtest/gtest.h>

#include "tests/authenticator/authenticator_test.h"

namespace veltrane::authenticator::testing {

/// With the keys of this keeper: registers and signs in with a PIN, guesses wrong until the
/// authenticator locks, and finds it locked after a restart.
inline void expectLockOut(const std::filesystem::path& file, const KeyKeeperFactory& keeper,
                          const std::string& name) {
  TestDevice device(file, {keeper});
  const TestPlatform platform(device, std::make_shared<veltrane::testing::RecordingConsole>());
  auto making = makeRequest();
  auto getting = getRequest();
  making.userVerification = getting.userVerification = Requirement::required;
  valueOf(device.make(making));
  EXPECT_EQ(valueOf(list(file)).front().keeper, name);
  EXPECT_FALSE(valueOf(device.get(getting)).signature.empty());

  device.person.pin = "0000";
  device.person.takeSteps();
  EXPECT_EQ(errorOf(device.get(getting)).failure, PasskeyFailure::locked);
  EXPECT_EQ(device.person.takeSteps().size(), 1U + 8U + 1U) << "consent, each try, notice";
  device.person.pin = "2580";
  device.restart();
  EXPECT_EQ(errorOf(device.get(getting)).failure, PasskeyFailure::locked);
}

}  // namespace veltrane::authenticator::testing
