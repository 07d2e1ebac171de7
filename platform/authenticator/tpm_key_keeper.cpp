#include "platform/authenticator/tpm_key_keeper.h"

#include <openssl/bn.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include "platform/authenticator/tpm_connection.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {
namespace {

constexpr std::uint8_t kVersion = 2;
constexpr std::uint8_t kFormerVersion = 1;
constexpr std::size_t kCoordinate = 32;

std::string tctiOf(const TPMOptions& options) {
  if (!options.tcti.empty()) return options.tcti;
  // Not heeded by a program that runs with more rights than its user has: it may name a library.
  const char* chosen = secure_getenv("VELTRANE_TPM_TCTI");
  return chosen && *chosen ? chosen : "device:/dev/tpmrm0";
}

/// Why the device of that TCTI cannot be opened, before anything is loaded to do so.
std::optional<TPMStatus> deviceTrouble(const std::string& tcti) {
  constexpr std::string_view kPrefix = "device:";
  if (!tcti.starts_with(kPrefix)) return std::nullopt;
  const auto path = tcti.substr(kPrefix.size());
  if (access(path.c_str(), R_OK | W_OK) == 0) return std::nullopt;
  if (errno == EACCES) {
    return TPMStatus{.cause = "This user may not use the TPM at " + path + ".",
                     .remedy = "Add the user to the group that owns " + path +
                               " (\"sudo usermod -aG tss USER\") and sign in again."};
  }
  return TPMStatus{
      .cause = "There is no TPM 2.0: " + path + " cannot be opened (" + std::strerror(errno) + ").",
      .remedy =
          "Switch the TPM on in the firmware's settings, where it may be called "
          "fTPM or PTT; passkeys work without one too."};
}

TPMStatus toStatus(const TPMFailure& failure) {
  if (failure.is(TPM2_RC_BAD_AUTH) || failure.is(TPM2_RC_AUTH_FAIL)) {
    return {.cause = "The TPM's owner has set a password, so no keys can be made in it.",
            .remedy = "Take it off with \"tpm2_changeauth -c owner -p PASSWORD\"."};
  }
  if (failure.is(TPM2_RC_HIERARCHY)) {
    return {.cause = "The TPM's storage hierarchy is switched off.",
            .remedy = "Switch it on in the firmware's settings, or clear the TPM there."};
  }
  if ((failure.code() & TSS2_RC_LAYER_MASK) != TSS2_TPM_RC_LAYER) {
    return {.cause = std::string("The TPM cannot be reached: ") + failure.what(),
            .remedy =
                "Install the part of tpm2-tss for it (libtss2-tcti-device), and see that no "
                "other program holds the TPM."};
  }
  return {.cause = std::string("The TPM does not work: ") + failure.what(),
          .remedy =
              "Restart the machine; if that does not help, look for the TPM in the "
              "firmware's settings."};
}

/// What the TPM demands before it signs. Computed from what is no secret: it keeps a sealed key
/// from being used in the place of another.
TPM2B_AUTH authorizationOf(std::uint8_t version, const KeyContext& context) {
  const bool isFormer = version == kFormerVersion;
  const std::string_view purpose = isFormer ? "veltrane passkey context" : "veltrane passkey key 2";
  const std::string bytes = isFormer ? context.formerBytes() : context.bytes();
  TPM2B_AUTH value{.size = 32};
  unsigned int size = 0;
  HMAC(EVP_sha256(), purpose.data(), static_cast<int>(purpose.size()),
       reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), value.buffer, &size);
  // TPMs drop zeros at the end, and not all of them and their libraries agree on when.
  value.buffer[value.size - 1] |= 1;
  return value;
}

std::string seal(std::uint8_t version, const TPM2B_PUBLIC& publicArea,
                 const TPM2B_PRIVATE& privateArea) {
  std::array<std::uint8_t, 1 + sizeof publicArea + sizeof privateArea> bytes;
  bytes[0] = version;
  std::size_t size = 1;
  VELTRANE_TPM_CALL(Tss2_MU_TPM2B_PUBLIC_Marshal, &publicArea, bytes.data(), bytes.size(), &size);
  VELTRANE_TPM_CALL(Tss2_MU_TPM2B_PRIVATE_Marshal, &privateArea, bytes.data(), bytes.size(), &size);
  return {bytes.begin(), bytes.begin() + size};
}

struct SealedKey {
  std::uint8_t version = 0;
  TPM2B_PUBLIC publicArea{};
  TPM2B_PRIVATE privateArea{};
};

SealedKey unseal(std::string_view sealed) {
  SealedKey key;
  if (!sealed.empty()) key.version = static_cast<std::uint8_t>(sealed[0]);
  if (key.version != kVersion && key.version != kFormerVersion) {
    throw std::runtime_error("sealed key of another version");
  }
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(sealed.data());
  std::size_t at = 1;
  VELTRANE_TPM_CALL(Tss2_MU_TPM2B_PUBLIC_Unmarshal, bytes, sealed.size(), &at, &key.publicArea);
  VELTRANE_TPM_CALL(Tss2_MU_TPM2B_PRIVATE_Unmarshal, bytes, sealed.size(), &at, &key.privateArea);
  // One way to write it: sizes within are not looked at by all who read them.
  if (seal(key.version, key.publicArea, key.privateArea) != sealed) {
    throw std::runtime_error("sealed key is damaged");
  }
  return key;
}

/// Some TPMs leave out zeros in front.
void appendCoordinate(std::string& bytes, const TPM2B_ECC_PARAMETER& coordinate) {
  const std::size_t size = coordinate.size;
  if (size > kCoordinate) throw std::runtime_error("the TPM's key is not on P-256");
  bytes.append(kCoordinate - size, '\0').append(coordinate.buffer, coordinate.buffer + size);
}

std::string toSubjectPublicKeyInfo(const TPMS_ECC_POINT& point) {
  // SEQUENCE { SEQUENCE { id-ecPublicKey, prime256v1 }, BIT STRING { uncompressed point } }
  constexpr unsigned char kStart[] = {0x30, 0x59, 0x30, 0x13, 0x06, 0x07, 0x2A, 0x86, 0x48,
                                      0xCE, 0x3D, 0x02, 0x01, 0x06, 0x08, 0x2A, 0x86, 0x48,
                                      0xCE, 0x3D, 0x03, 0x01, 0x07, 0x03, 0x42, 0x00, 0x04};
  std::string bytes(std::begin(kStart), std::end(kStart));
  appendCoordinate(bytes, point.x);
  appendCoordinate(bytes, point.y);
  return bytes;
}

std::string toDER(const TPMS_SIGNATURE_ECC& parts) {
  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> signature(ECDSA_SIG_new(),
                                                                        &ECDSA_SIG_free);
  const auto& [hash, r, s] = parts;
  unsigned char* bytes = nullptr;
  if (!signature || !ECDSA_SIG_set0(signature.get(), BN_bin2bn(r.buffer, r.size, nullptr),
                                    BN_bin2bn(s.buffer, s.size, nullptr))) {
    throw std::bad_alloc();
  }
  const int size = i2d_ECDSA_SIG(signature.get(), &bytes);
  if (size <= 0) throw std::runtime_error("i2d_ECDSA_SIG");
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owned(
      bytes, [](unsigned char* memory) { OPENSSL_free(memory); });
  return {bytes, bytes + size};
}

TPM2B_DIGEST digestOf(std::string_view message) {
  TPM2B_DIGEST digest{};
  std::size_t size = 0;
  if (!EVP_Q_digest(nullptr, "SHA256", nullptr, message.data(), message.size(), digest.buffer,
                    &size)) {
    throw std::runtime_error("EVP_Q_digest");
  }
  digest.size = static_cast<UINT16>(size);
  return digest;
}

KeyKeeper::NewKey makeKeyIn(const TPMConnection& tpm, const KeyContext& context) {
  const auto storage = tpm.makeStorageKey();
  const auto session = tpm.startSession(storage, TPMA_SESSION_ENCRYPT);
  const TPM2B_SENSITIVE_CREATE sensitive{
      .sensitive = {.userAuth = authorizationOf(kVersion, context)}};
  const auto wanted =
      p256Template(TPMA_OBJECT_SIGN_ENCRYPT, {.algorithm = TPM2_ALG_NULL},
                   {.scheme = TPM2_ALG_ECDSA, .details = {.ecdsa = {.hashAlg = TPM2_ALG_SHA256}}});
  const TPM2B_DATA outside{};
  const TPML_PCR_SELECTION registers{};
  TPM2B_PRIVATE* privateArea = nullptr;
  TPM2B_PUBLIC* publicArea = nullptr;
  VELTRANE_TPM_CALL(Esys_Create, tpm.get(), storage.get(), session.get(), ESYS_TR_NONE,
                    ESYS_TR_NONE, &sensitive, &wanted, &outside, &registers, &privateArea,
                    &publicArea, nullptr, nullptr, nullptr);
  const TPMOwned<TPM2B_PRIVATE> ownedPrivate(privateArea);
  const TPMOwned<TPM2B_PUBLIC> ownedPublic(publicArea);
  return {.sealed = seal(kVersion, *publicArea, *privateArea),
          .publicKey = toSubjectPublicKeyInfo(publicArea->publicArea.unique.ecc)};
}

/// A sealed key in the TPM for as long as this stands.
class LoadedKey {
 public:
  LoadedKey(const TPMConnection& tpm, std::string_view sealed, const KeyContext& context)
      : sealed_(unseal(sealed)),
        storage_(tpm.makeStorageKey()),
        session_(tpm.startSession(storage_, {})),
        key_(load(tpm)) {
    const auto authorization = authorizationOf(sealed_.version, context);
    VELTRANE_TPM_CALL(Esys_TR_SetAuth, tpm.get(), key_.get(), &authorization);
  }

  const SealedKey& sealed() const { return sealed_; }
  ESYS_TR storage() const { return storage_.get(); }
  ESYS_TR session() const { return session_.get(); }
  ESYS_TR get() const { return key_.get(); }

 private:
  TPMHandle load(const TPMConnection& tpm) const {
    ESYS_TR handle = ESYS_TR_NONE;
    VELTRANE_TPM_CALL(Esys_Load, tpm.get(), storage(), session(), ESYS_TR_NONE, ESYS_TR_NONE,
                      &sealed_.privateArea, &sealed_.publicArea, &handle);
    return {tpm.get(), handle};
  }

  SealedKey sealed_;
  TPMHandle storage_;
  TPMHandle session_;
  TPMHandle key_;
};

std::string signIn(const TPMConnection& tpm, std::string_view sealed, const KeyContext& context,
                   std::string_view message) {
  const LoadedKey key(tpm, sealed, context);
  const auto digest = digestOf(message);
  const TPMT_SIG_SCHEME itsOwn{.scheme = TPM2_ALG_NULL};
  const TPMT_TK_HASHCHECK none{.tag = TPM2_ST_HASHCHECK, .hierarchy = TPM2_RH_NULL};
  TPMT_SIGNATURE* signature = nullptr;
  VELTRANE_TPM_CALL(Esys_Sign, tpm.get(), key.get(), key.session(), ESYS_TR_NONE, ESYS_TR_NONE,
                    &digest, &itsOwn, &none, &signature);
  const TPMOwned<TPMT_SIGNATURE> owned(signature);
  return toDER(signature->signature.ecdsa);
}

/// The same key under the authorization that keys get today.
std::string renewIn(const TPMConnection& tpm, std::string_view sealed, const KeyContext& context) {
  const LoadedKey key(tpm, sealed, context);
  const auto authorization = authorizationOf(kVersion, context);
  TPM2B_PRIVATE* privateArea = nullptr;
  VELTRANE_TPM_CALL(Esys_ObjectChangeAuth, tpm.get(), key.get(), key.storage(), key.session(),
                    ESYS_TR_NONE, ESYS_TR_NONE, &authorization, &privateArea);
  const TPMOwned<TPM2B_PRIVATE> owned(privateArea);
  return seal(kVersion, key.sealed().publicArea, *privateArea);
}

class TPMKeyKeeper : public KeyKeeper {
 public:
  explicit TPMKeyKeeper(std::string tcti) : tcti_(std::move(tcti)) {}

  std::string name() const override { return "tpm"; }
  std::vector<int> algorithms() const override { return {cose::kES256}; }

  PasskeyResult<NewKey> makeKey(int algorithm, const KeyContext& context) override {
    return use<NewKey>(algorithm, [&](const auto& tpm) { return makeKeyIn(tpm, context); });
  }
  PasskeyResult<std::string> sign(int algorithm, std::string_view sealed, const KeyContext& context,
                                  std::string_view message) override {
    return use<std::string>(algorithm,
                            [&](const auto& tpm) { return signIn(tpm, sealed, context, message); });
  }
  PasskeyResult<std::string> renewed(int algorithm, std::string_view sealed,
                                     const KeyContext& context) override {
    if (!sealed.starts_with(static_cast<char>(kFormerVersion))) return std::string(sealed);
    return use<std::string>(algorithm,
                            [&](const auto& tpm) { return renewIn(tpm, sealed, context); });
  }

 private:
  template <typename Value, typename Work>
  PasskeyResult<Value> use(int algorithm, const Work& work) const {
    if (algorithm != cose::kES256) {
      return PasskeyError{.failure = PasskeyFailure::notSupported,
                          .cause = "COSE algorithm in the TPM",
                          .causeCode = algorithm};
    }
    try {
      return work(TPMConnection(tcti_));
    } catch (const TPMFailure& failure) {
      return PasskeyError{.cause = failure.what(), .causeCode = failure.code()};
    } catch (const std::exception& failure) {
      return PasskeyError{.cause = failure.what()};
    }
  }

  std::string tcti_;
};

}  // namespace

TPMStatus probeTPM(const TPMOptions& options) {
  const auto tcti = tctiOf(options);
  if (auto trouble = deviceTrouble(tcti)) return *std::move(trouble);
  try {
    TPMConnection(tcti).makeStorageKey();
    return {.usable = true};
  } catch (const TPMFailure& failure) {
    return toStatus(failure);
  } catch (const std::exception& failure) {
    return {.cause = std::string("tpm2-tss cannot be loaded: ") + failure.what(),
            .remedy = "Install tpm2-tss 3 or newer (libtss2-esys and libtss2-tctildr)."};
  }
}

std::unique_ptr<KeyKeeper> makeTPMKeyKeeper(const TPMOptions& options) {
  if (!probeTPM(options).usable) return nullptr;
  return std::make_unique<TPMKeyKeeper>(tctiOf(options));
}

}  // namespace veltrane::authenticator
