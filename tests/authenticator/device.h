#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/authenticator/platform_authenticator.h"
#include "platform/loop/run_loop.h"
#include "tests/authenticator/person.h"
#include "veltrane/base/console.h"
#include "veltrane/platform.h"

namespace veltrane::authenticator::testing {

/// Guesses that cost next to nothing, for tests that are not about the cost.
constexpr StretchCost kCheap{.passes = 1, .memoryKiB = 8, .lanes = 1};

/// A keeper in software whose wrapping key is all `fill`.
KeyKeeperFactory keeperOf(char fill, std::string name = "machine");

/// One machine with its authenticator, a person at it, and the main thread's queue.
class TestDevice {
 public:
  explicit TestDevice(std::filesystem::path file,
                      std::vector<KeyKeeperFactory> keepers = {keeperOf('k')},
                      StretchCost cost = kCheap);

  Person person;
  std::shared_ptr<loop::RunLoop> loop = std::make_shared<loop::RunLoop>();

  PasskeyResult<MadeCredential> make(const MakeCredential& request);
  PasskeyResult<Assertion> get(const GetAssertion& request);
  PlatformAuthenticator& authenticator() { return *authenticator_; }
  /// As when the program is started anew.
  void restart();
  void stop() { authenticator_.reset(); }

  /// Runs the main thread until that holds; false after a time that only a fault takes.
  template <typename Condition>
  bool runUntil(Condition condition) {
    return loop->runUntil(condition, std::chrono::seconds(60));
  }

 private:
  PlatformAuthenticatorOptions options_;
  std::unique_ptr<PlatformAuthenticator> authenticator_;
};

/// The platform of a test: the device's queue, and where console lines go.
class TestPlatform {
 public:
  TestPlatform(TestDevice& device, std::shared_ptr<ConsoleSink> console);
  /// Its thread may still have something to tell the console.
  ~TestPlatform() { device_.stop(); }
  TestPlatform(const TestPlatform&) = delete;
  TestPlatform& operator=(const TestPlatform&) = delete;

 private:
  TestDevice& device_;
  PlatformScope scope_;
};

/// A request that every server might send, for an account at example.com.
MakeCredential makeRequest(std::string userId = "u1", std::string userName = "alice@example.com");
GetAssertion getRequest(std::vector<std::string> allowed = {});
std::uint32_t counterOf(const std::string& authenticatorData);

}  // namespace veltrane::authenticator::testing
