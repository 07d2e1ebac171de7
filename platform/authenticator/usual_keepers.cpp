#include "platform/authenticator/usual_keepers.h"

#include "platform/authenticator/secret_service_key.h"
#include "platform/authenticator/tpm_key_keeper.h"

namespace veltrane::authenticator {

std::vector<KeyKeeperFactory> usualKeepers() {
  return {
      [](const StorePlace& /*store*/) { return makeTPMKeyKeeper(); },
      [](const StorePlace& store) {
        return makeSecretServiceKeyKeeper({.folder = store.folder.string(), .storeId = store.id});
      },
  };
}

}  // namespace veltrane::authenticator
