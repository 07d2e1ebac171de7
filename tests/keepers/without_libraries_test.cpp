#include <gmock/gmock.h>

#include <cstdlib>

#include "platform/authenticator/secret_service_key.h"
#include "platform/authenticator/tpm_key_keeper.h"

namespace veltrane::authenticator {
namespace {

using ::testing::HasSubstr;

// The loader's search path has this test's own libraries in front, which have no function at all.
TEST(WithoutLibraries, ItIsSaidWhatIsMissingEachTime) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  for (int i = 0; i < 2; ++i) {
    const auto tpm = probeTPM({.tcti = "swtpm:"});
    EXPECT_FALSE(tpm.usable);
    EXPECT_THAT(tpm.cause, HasSubstr("tpm2-tss lacks Esys_Initialize"));
    EXPECT_THAT(tpm.remedy, HasSubstr("Install tpm2-tss"));
    EXPECT_FALSE(makeTPMKeyKeeper({.tcti = "swtpm:"}));

    const auto service = probeSecretService();
    EXPECT_FALSE(service.usable);
    EXPECT_THAT(service.cause, HasSubstr("libsecret cannot be loaded"));
    EXPECT_THAT(service.remedy, HasSubstr("Install libsecret"));
  }
}

}  // namespace
}  // namespace veltrane::authenticator
