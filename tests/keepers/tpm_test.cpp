#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/x509.h>
#include <sys/stat.h>
#include <tss2/tss2_esys.h>
#include <tss2/tss2_mu.h>
#include <tss2/tss2_tctildr.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <tuple>

#include "platform/authenticator/tpm_connection.h"
#include "platform/authenticator/tpm_key_keeper.h"
#include "tests/authenticator/lock_out.h"
#include "tests/keepers/swtpm.h"
#include "tests/support/temporary_folder.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::testing {
namespace {

using authenticator::KeyContext;
using authenticator::KeyKeeper;
using authenticator::makeTPMKeyKeeper;
using authenticator::probeTPM;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

bool isSignedBy(const std::string& publicKey, const std::string& message,
                const std::string& signature) {
  const auto bytes = [](const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
  };
  const auto* at = bytes(publicKey);
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      d2i_PUBKEY(nullptr, &at, static_cast<long>(publicKey.size())), &EVP_PKEY_free);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        &EVP_MD_CTX_free);
  return key && EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) &&
         EVP_DigestVerify(context.get(), bytes(signature), signature.size(), bytes(message),
                          message.size()) == 1;
}

const PasskeyError* errorOf(const PasskeyResult<std::string>& result) {
  return std::get_if<PasskeyError>(&result);
}

KeyKeeper::NewKey keyOf(KeyKeeper& keeper, const KeyContext& context) {
  return std::get<KeyKeeper::NewKey>(keeper.makeKey(cose::kES256, context));
}

const KeyContext kContext("id", "example.com");

class TPM : public ::testing::Test {
 protected:
  SoftwareTPM tpm;
  std::unique_ptr<KeyKeeper> keeper = makeTPMKeyKeeper({.tcti = tpm.tcti()});
};

TEST_F(TPM, SignsWithKeysItMadeUnderTheirContextAloneAndLeavesNothingBehind) {
  ASSERT_TRUE(keeper);
  // More often than the TPM has room for what would be left in it, and each way out.
  for (int i = 0; i < 50; ++i) {
    const KeyContext context("id", "example.com " + std::to_string(i));
    const auto key = keyOf(*keeper, context);
    const auto signature = keeper->sign(cose::kES256, key.sealed, context, "message");
    ASSERT_FALSE(errorOf(signature)) << errorOf(signature)->cause;
    EXPECT_TRUE(isSignedBy(key.publicKey, "message", std::get<std::string>(signature)));
    EXPECT_FALSE(isSignedBy(key.publicKey, "massage", std::get<std::string>(signature)));

    const auto refused = keeper->sign(
        cose::kES256, key.sealed, KeyContext("ide", "xample.com " + std::to_string(i)), "message");
    ASSERT_TRUE(errorOf(refused));
    EXPECT_THAT(errorOf(refused)->cause, HasSubstr("authorization failure"));
  }
}

TEST_F(TPM, KeepsTheKeysOfAnAuthenticatorThatLocks) {
  const TemporaryFolder folder;
  authenticator::testing::expectLockOut(
      folder.path() / "passkeys.db",
      [this](const authenticator::StorePlace&) { return makeTPMKeyKeeper({.tcti = tpm.tcti()}); },
      "tpm");
}

TEST_F(TPM, AnotherOneCannotUseASealedKeyNorCanAnyoneADamagedOne) {
  const auto key = keyOf(*keeper, kContext);
  const SoftwareTPM other;
  const auto stranger = makeTPMKeyKeeper({.tcti = other.tcti()});
  const auto refused = stranger->sign(cose::kES256, key.sealed, kContext, "message");
  ASSERT_TRUE(errorOf(refused));
  EXPECT_THAT(errorOf(refused)->cause, HasSubstr("Esys_Load"));
  EXPECT_TRUE(errorOf(refused)->causeCode);

  const auto refuses = [&](const std::string& sealed) {
    return errorOf(keeper->sign(cose::kES256, sealed, kContext, "message")) != nullptr;
  };
  for (std::size_t size = 0; size < key.sealed.size(); size += 5) {
    EXPECT_TRUE(refuses(key.sealed.substr(0, size))) << size;
    auto flipped = key.sealed;
    flipped[size] = static_cast<char>(flipped[size] ^ 1);
    EXPECT_TRUE(refuses(flipped)) << size;
  }
  EXPECT_TRUE(refuses(key.sealed + '\0'));
  EXPECT_FALSE(refuses(key.sealed));
}

/// As the first version made them: authorized by what is not parted, id and relying party.
KeyKeeper::NewKey formerKey(const std::string& tcti, const KeyContext& context) {
  using namespace authenticator;
  const TPMConnection tpm(tcti);
  const auto storage = tpm.makeStorageKey();
  TPM2B_SENSITIVE_CREATE sensitive{};
  auto& authorization = sensitive.sensitive.userAuth;
  authorization.size = 32;
  const auto bytes = context.formerBytes();
  HMAC(EVP_sha256(), "veltrane passkey context", 24,
       reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), authorization.buffer,
       nullptr);
  authorization.buffer[31] |= 1;
  const auto wanted =
      p256Template(TPMA_OBJECT_SIGN_ENCRYPT, {.algorithm = TPM2_ALG_NULL},
                   {.scheme = TPM2_ALG_ECDSA, .details = {.ecdsa = {.hashAlg = TPM2_ALG_SHA256}}});
  const TPM2B_DATA outside{};
  const TPML_PCR_SELECTION registers{};
  TPM2B_PRIVATE* privateArea = nullptr;
  TPM2B_PUBLIC* publicArea = nullptr;
  VELTRANE_TPM_CALL(Esys_Create, tpm.get(), storage.get(), ESYS_TR_PASSWORD, ESYS_TR_NONE,
                    ESYS_TR_NONE, &sensitive, &wanted, &outside, &registers, &privateArea,
                    &publicArea, nullptr, nullptr, nullptr);
  const TPMOwned<TPM2B_PRIVATE> ownedPrivate(privateArea);
  const TPMOwned<TPM2B_PUBLIC> ownedPublic(publicArea);
  std::array<std::uint8_t, 1 + sizeof *publicArea + sizeof *privateArea> sealed{1};
  std::size_t size = 1;
  Tss2_MU_TPM2B_PUBLIC_Marshal(publicArea, sealed.data(), sealed.size(), &size);
  Tss2_MU_TPM2B_PRIVATE_Marshal(privateArea, sealed.data(), sealed.size(), &size);
  const auto& point = publicArea->publicArea.unique.ecc;
  return {.sealed = {sealed.begin(), sealed.begin() + size},
          .publicKey = {point.x.buffer, point.x.buffer + point.x.size}};
}

TEST_F(TPM, SignsWithKeysOfTheFirstVersionAndRenewsThem) {
  const auto former = formerKey(tpm.tcti(), kContext);
  const auto renewed =
      std::get<std::string>(keeper->renewed(cose::kES256, former.sealed, kContext));
  EXPECT_EQ(renewed[0], 2);
  EXPECT_NE(renewed.find(former.publicKey), std::string::npos);
  EXPECT_EQ(std::get<std::string>(keeper->renewed(cose::kES256, renewed, kContext)), renewed);
  const KeyContext another("ide", "xample.com");  // the same, where nothing parts them
  for (const auto& [sealed, context, signs] :
       {std::tuple(former.sealed, kContext, true), std::tuple(former.sealed, another, true),
        std::tuple(renewed, kContext, true), std::tuple(renewed, another, false)}) {
    const auto signature = keeper->sign(cose::kES256, sealed, context, "message");
    EXPECT_EQ(errorOf(signature) == nullptr, signs);
  }
  auto relabelled = renewed;
  relabelled[0] = 1;
  EXPECT_TRUE(errorOf(keeper->sign(cose::kES256, relabelled, kContext, "message")));
}

TEST_F(TPM, MakesNoOtherKindOfKey) {
  const auto made = keeper->makeKey(cose::kEdDSA, kContext);
  ASSERT_TRUE(std::holds_alternative<PasskeyError>(made));
  EXPECT_EQ(std::get<PasskeyError>(made).failure, PasskeyFailure::notSupported);
  EXPECT_THAT(keeper->algorithms(), ::testing::ElementsAre(cose::kES256));
}

TEST_F(TPM, GoneInTheMiddleOfASignatureOrBeforeIsAnError) {
  const auto key = keyOf(*keeper, kContext);
  tpm.pause();
  auto signing = std::async(std::launch::async, [&] {
    return keeper->sign(cose::kES256, key.sealed, kContext, "message");
  });
  tpm.remove();
  for (const auto& result :
       {signing.get(), keeper->sign(cose::kES256, key.sealed, kContext, "message")}) {
    ASSERT_TRUE(errorOf(result));
    EXPECT_EQ(errorOf(result)->failure, PasskeyFailure::failed);
    EXPECT_THAT(errorOf(result)->cause, Not(IsEmpty()));
  }
  EXPECT_FALSE(makeTPMKeyKeeper({.tcti = tpm.tcti()}));
}

// What is on the wires between the processor and the TPM.
TEST_F(TPM, NothingThatIsSignedPassesInClear) {
  const auto record = std::filesystem::path(::testing::TempDir()) /
                      ("veltrane-tpm-" + std::to_string(getpid()) + ".pcap");
  setenv("TCTI_PCAP_FILE", record.c_str(), 1);
  const auto recorded = makeTPMKeyKeeper({.tcti = "pcap:" + tpm.tcti()});
  ASSERT_TRUE(recorded);
  const auto key = keyOf(*recorded, kContext);
  ASSERT_FALSE(errorOf(recorded->sign(cose::kES256, key.sealed, kContext, "message")));

  unsigned char digest[32];
  EVP_Q_digest(nullptr, "SHA256", nullptr, "message", 7, digest, nullptr);
  std::ifstream file(record, std::ios::binary);
  const std::string wires(std::istreambuf_iterator<char>(file), {});
  // The public key does, so this is how it would be found.
  EXPECT_NE(wires.find(key.publicKey.substr(key.publicKey.size() - 32)), std::string::npos);
  EXPECT_EQ(wires.find(std::string(digest, digest + sizeof digest)), std::string::npos);
  std::filesystem::remove(record);
}

TEST(TPMProbe, SaysWhyThereIsNoneAndWhatToDo) {
  const auto absent = probeTPM({.tcti = "device:/dev/no-such-tpm"});
  EXPECT_FALSE(absent.usable);
  EXPECT_THAT(absent.cause, HasSubstr("/dev/no-such-tpm"));
  EXPECT_THAT(absent.remedy, HasSubstr("firmware"));
  EXPECT_FALSE(makeTPMKeyKeeper({.tcti = "device:/dev/no-such-tpm"}));

  const auto unknown = probeTPM({.tcti = "carrier-pigeon:"});
  EXPECT_FALSE(unknown.usable);
  EXPECT_THAT(unknown.cause, HasSubstr("Tss2_TctiLdr_Initialize"));
}

TEST(TPMProbe, TellsOneThatThisUserMayNotUse) {
  const auto device = ::testing::TempDir() + "/veltrane-tpm-" + std::to_string(getpid());
  std::ofstream(device).close();
  chmod(device.c_str(), 0);
  const auto probeAsNobody = [&] {
    if (getuid() == 0 && setresuid(65534, 65534, 65534) != 0) _exit(2);
    const auto status = probeTPM({.tcti = "device:" + device});
    _exit(!status.usable && status.cause.starts_with("This user may not use") &&
                  status.remedy.find("usermod") != std::string::npos
              ? 0
              : 1);
  };
  EXPECT_EXIT(probeAsNobody(), ::testing::ExitedWithCode(0), "");
  std::filesystem::remove(device);
}

void setOwnerPassword(const std::string& tcti) {
  TSS2_TCTI_CONTEXT* channel = nullptr;
  ESYS_CONTEXT* context = nullptr;
  const TPM2B_AUTH password{.size = 6, .buffer = {'s', 'e', 's', 'a', 'm', 'e'}};
  ASSERT_EQ(Tss2_TctiLdr_Initialize(tcti.c_str(), &channel), TSS2_RC_SUCCESS);
  ASSERT_EQ(Esys_Initialize(&context, channel, nullptr), TSS2_RC_SUCCESS);
  EXPECT_EQ(Esys_HierarchyChangeAuth(context, ESYS_TR_RH_OWNER, ESYS_TR_PASSWORD, ESYS_TR_NONE,
                                     ESYS_TR_NONE, &password),
            TSS2_RC_SUCCESS);
  Esys_Finalize(&context);
  Tss2_TctiLdr_Finalize(&channel);
}

TEST_F(TPM, OneWhoseOwnerHasAPasswordIsNotUsed) {
  setOwnerPassword(tpm.tcti());
  const auto status = probeTPM({.tcti = tpm.tcti()});
  EXPECT_FALSE(status.usable);
  EXPECT_THAT(status.cause, HasSubstr("password"));
  EXPECT_THAT(status.remedy, HasSubstr("tpm2_changeauth"));
  EXPECT_TRUE(std::holds_alternative<PasskeyError>(keeper->makeKey(cose::kES256, kContext)));
}

TEST(TPMProbe, FindsTheOneThatTheEnvironmentNames) {
  const SoftwareTPM tpm;
  setenv("VELTRANE_TPM_TCTI", tpm.tcti().c_str(), 1);
  const auto status = probeTPM();
  unsetenv("VELTRANE_TPM_TCTI");
  EXPECT_TRUE(status.usable) << status.cause;
  EXPECT_THAT(status.cause + status.remedy, IsEmpty());
}

}  // namespace
}  // namespace veltrane::testing
