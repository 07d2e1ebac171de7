#include "platform/authenticator/tpm_connection.h"

#include <utility>

namespace veltrane::authenticator {
namespace {

std::string describe(const char* call, TSS2_RC code) {
  const std::string name = call;
  return tpm2().Tss2_RC_Decode ? name + ": " + tpm2().Tss2_RC_Decode(code) : name;
}

}  // namespace

TPMFailure::TPMFailure(const char* call, TSS2_RC code)
    : std::runtime_error(describe(call, code)), code_(code) {}

bool TPMFailure::is(TPM2_RC error) const {
  // The bits beyond say which handle, session or parameter it is about.
  constexpr TSS2_RC kError = TPM2_RC_FMT1 | 0x3F;
  return (code_ & TSS2_RC_LAYER_MASK) == TSS2_TPM_RC_LAYER && (code_ & kError) == error;
}

void checkTPM(const char* call, TSS2_RC code) {
  if (code != TSS2_RC_SUCCESS) throw TPMFailure(call, code);
}

TPMHandle::TPMHandle(TPMHandle&& other) noexcept
    : context_(other.context_), handle_(std::exchange(other.handle_, ESYS_TR_NONE)) {}

TPMHandle::~TPMHandle() {
  // A TPM that is gone has nothing to give back.
  if (handle_ != ESYS_TR_NONE) tpm2().Esys_FlushContext(context_, handle_);
}

TPMConnection::TPMConnection(const std::string& tcti) {
  VELTRANE_TPM_CALL(Tss2_TctiLdr_Initialize, tcti.c_str(), &tcti_);
  const TSS2_RC code = tpm2().Esys_Initialize(&context_, tcti_, nullptr);
  if (code == TSS2_RC_SUCCESS) return;
  tpm2().Tss2_TctiLdr_Finalize(&tcti_);
  throw TPMFailure("Esys_Initialize", code);
}

TPMConnection::~TPMConnection() {
  tpm2().Esys_Finalize(&context_);
  tpm2().Tss2_TctiLdr_Finalize(&tcti_);
}

TPM2B_PUBLIC p256Template(TPMA_OBJECT attributes, const TPMT_SYM_DEF_OBJECT& symmetric,
                          const TPMT_ECC_SCHEME& scheme) {
  TPM2B_PUBLIC key{};
  auto& area = key.publicArea;
  area.type = TPM2_ALG_ECC;
  area.nameAlg = TPM2_ALG_SHA256;
  // Whoever uses it names what it is bound to: a wrong one is a mistake, no guess to be punished
  // by locking the whole TPM.
  area.objectAttributes = attributes | TPMA_OBJECT_FIXEDTPM | TPMA_OBJECT_FIXEDPARENT |
                          TPMA_OBJECT_SENSITIVEDATAORIGIN | TPMA_OBJECT_USERWITHAUTH |
                          TPMA_OBJECT_NODA;
  area.parameters.eccDetail.symmetric = symmetric;
  area.parameters.eccDetail.scheme = scheme;
  area.parameters.eccDetail.curveID = TPM2_ECC_NIST_P256;
  area.parameters.eccDetail.kdf.scheme = TPM2_ALG_NULL;
  return key;
}

TPMHandle TPMConnection::makeStorageKey() const {
  const auto key = p256Template(
      TPMA_OBJECT_RESTRICTED | TPMA_OBJECT_DECRYPT,
      {.algorithm = TPM2_ALG_AES, .keyBits = {.aes = 128}, .mode = {.aes = TPM2_ALG_CFB}},
      {.scheme = TPM2_ALG_NULL});
  const TPM2B_SENSITIVE_CREATE sensitive{};
  const TPM2B_DATA outside{};
  const TPML_PCR_SELECTION registers{};
  ESYS_TR handle = ESYS_TR_NONE;
  VELTRANE_TPM_CALL(Esys_CreatePrimary, context_, ESYS_TR_RH_OWNER, ESYS_TR_PASSWORD, ESYS_TR_NONE,
                    ESYS_TR_NONE, &sensitive, &key, &outside, &registers, &handle, nullptr, nullptr,
                    nullptr, nullptr);
  return {context_, handle};
}

TPMHandle TPMConnection::startSession(const TPMHandle& salted, TPMA_SESSION attributes) const {
  const TPMT_SYM_DEF symmetric{
      .algorithm = TPM2_ALG_AES, .keyBits = {.aes = 128}, .mode = {.aes = TPM2_ALG_CFB}};
  ESYS_TR handle = ESYS_TR_NONE;
  VELTRANE_TPM_CALL(Esys_StartAuthSession, context_, salted.get(), ESYS_TR_NONE, ESYS_TR_NONE,
                    ESYS_TR_NONE, ESYS_TR_NONE, nullptr, TPM2_SE_HMAC, &symmetric, TPM2_ALG_SHA256,
                    &handle);
  TPMHandle session{context_, handle};
  VELTRANE_TPM_CALL(Esys_TRSess_SetAttributes, context_, handle,
                    attributes | TPMA_SESSION_CONTINUESESSION | TPMA_SESSION_DECRYPT, 0xFF);
  return session;
}

}  // namespace veltrane::authenticator
