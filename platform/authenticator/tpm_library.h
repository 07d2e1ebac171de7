#pragma once

#include <tss2/tss2_esys.h>
#include <tss2/tss2_mu.h>
#include <tss2/tss2_rc.h>
#include <tss2/tss2_tctildr.h>

#include <string>

namespace veltrane::authenticator {

// Few machines that this runs on use their TPM: tpm2-tss is loaded when one is first asked for, and
// called through this table.
#define VELTRANE_TPM_FUNCTIONS(each)                                                          \
  each(Esys_Initialize) each(Esys_Finalize) each(Esys_CreatePrimary) each(Esys_Create)        \
      each(Esys_Load) each(Esys_ObjectChangeAuth) each(Esys_Sign) each(Esys_StartAuthSession) \
          each(Esys_TR_SetAuth) each(Esys_TRSess_SetAttributes) each(Esys_FlushContext)       \
              each(Esys_Free) each(Tss2_MU_TPM2B_PUBLIC_Marshal)                              \
                  each(Tss2_MU_TPM2B_PUBLIC_Unmarshal) each(Tss2_MU_TPM2B_PRIVATE_Marshal)    \
                      each(Tss2_MU_TPM2B_PRIVATE_Unmarshal) each(Tss2_TctiLdr_Initialize)     \
                          each(Tss2_TctiLdr_Finalize)

#define VELTRANE_TPM_MEMBER(name) decltype(&::name) name = nullptr;
struct TPMFunctions {
  VELTRANE_TPM_FUNCTIONS(VELTRANE_TPM_MEMBER)
  /// Null where this part of tpm2-tss is not installed: it only puts errors in words.
  decltype(&::Tss2_RC_Decode) Tss2_RC_Decode = nullptr;
};
#undef VELTRANE_TPM_MEMBER

/// Loads tpm2-tss at the first call; it stays until the program ends. Throws std::runtime_error,
/// saying why, if it cannot be had. Any thread.
const TPMFunctions& tpm2();

}  // namespace veltrane::authenticator
