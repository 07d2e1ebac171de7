#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/authenticator/tpm_library.h"

namespace veltrane::authenticator {

/// A call of tpm2-tss that failed: its name and what went wrong, in tpm2-tss's words.
class TPMFailure : public std::runtime_error {
 public:
  TPMFailure(const char* call, TSS2_RC code);
  TSS2_RC code() const { return code_; }
  /// Whether the TPM itself answered with that error, about whichever handle or parameter. For
  /// errors of format one (TPM2_RC_FMT1).
  bool is(TPM2_RC error) const;

 private:
  TSS2_RC code_;
};

/// Calls a function of tpm2-tss; throws a TPMFailure unless it succeeds.
#define VELTRANE_TPM_CALL(name, ...) \
  ::veltrane::authenticator::checkTPM(#name, tpm2().name(__VA_ARGS__))

void checkTPM(const char* call, TSS2_RC code);

struct TPMFree {
  void operator()(void* memory) const { tpm2().Esys_Free(memory); }
};
/// What tpm2-tss hands out.
template <typename Type>
using TPMOwned = std::unique_ptr<Type, TPMFree>;

/// Something that takes one of the TPM's few places: given back when dropped.
class TPMHandle {
 public:
  TPMHandle(ESYS_CONTEXT* context, ESYS_TR handle) : context_(context), handle_(handle) {}
  TPMHandle(TPMHandle&& other) noexcept;
  TPMHandle& operator=(TPMHandle&&) = delete;
  ~TPMHandle();
  ESYS_TR get() const { return handle_; }

 private:
  ESYS_CONTEXT* context_;
  ESYS_TR handle_;
};

/// An open TPM. Handles end before it does. Throws std::runtime_error where there is none.
class TPMConnection {
 public:
  explicit TPMConnection(const std::string& tcti);
  ~TPMConnection();
  TPMConnection(const TPMConnection&) = delete;
  TPMConnection& operator=(const TPMConnection&) = delete;

  ESYS_CONTEXT* get() const { return context_; }

  /// The key that wraps ours: the TPM makes the same one from its owner's seed each time.
  TPMHandle makeStorageKey() const;
  /// A session that authorizes and encrypts commands' parameters, and with `attributes` also
  /// answers', under a secret that only the TPM can take out of `salted`.
  TPMHandle startSession(const TPMHandle& salted, TPMA_SESSION attributes) const;

 private:
  TSS2_TCTI_CONTEXT* tcti_ = nullptr;
  ESYS_CONTEXT* context_ = nullptr;
};

/// The public area of P-256 keys.
TPM2B_PUBLIC p256Template(TPMA_OBJECT attributes, const TPMT_SYM_DEF_OBJECT& symmetric,
                          const TPMT_ECC_SCHEME& scheme);

}  // namespace veltrane::authenticator
