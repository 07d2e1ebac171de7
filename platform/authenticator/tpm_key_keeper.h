#pragma once

#include <memory>
#include <string>

#include "platform/authenticator/key_keeper.h"

namespace veltrane::authenticator {

struct TPMOptions {
  /// How the TPM is reached, as tpm2-tss writes it ("device:/dev/tpmrm0"). Empty: the environment's
  /// VELTRANE_TPM_TCTI, else the kernel's resource manager.
  std::string tcti = {};
};

/// One cause and one remedy, for a person; both empty where it is usable.
struct TPMStatus {
  bool usable = false;
  std::string cause = {};
  std::string remedy = {};
};

/// Whether keys can be kept in a TPM 2.0, found out by making a storage key in it. Any thread; may
/// block for as long as the TPM takes.
TPMStatus probeTPM(const TPMOptions& options = {});

/// Keys that are made inside the TPM and never leave it: what is sealed can be used by this very
/// TPM alone, and by none once its owner has cleared it. ES256 only; named "tpm". The context is
/// the key's authorization value, which the TPM itself demands for each signature.
///
/// Each call opens the TPM anew and leaves nothing in it, so the machine may sleep and the TPM may
/// go and come back between calls. Null where `probeTPM` tells why not.
std::unique_ptr<KeyKeeper> makeTPMKeyKeeper(const TPMOptions& options = {});

}  // namespace veltrane::authenticator
