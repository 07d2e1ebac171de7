// Passkeys of this machine against what OpenSSL alone takes for the same keys and signatures; and
// sign-ins with many stored credentials against one.
//
// What a credential or an assertion costs is measured without storing, on one thread; then through
// the authenticator's port, where its thread, the person's sheet and the file come on top.
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "bench/ratio_reporter.h"
#include "platform/authenticator/credential_store.h"
#include "platform/authenticator/platform_authenticator.h"
#include "platform/authenticator/signing.h"
#include "platform/authenticator/software_key_keeper.h"
#include "platform/loop/run_loop.h"
#include "veltrane/passkeys/passkey_sheet.h"
#include "veltrane/platform.h"

namespace {

using namespace veltrane;
using namespace veltrane::authenticator;
namespace fs = std::filesystem;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::exit(1);
}

template <typename Value>
Value valueOf(PasskeyResult<Value> result) {
  if (const auto* error = std::get_if<PasskeyError>(&result)) require(false, error->cause.c_str());
  return std::get<Value>(std::move(result));
}

MakeCredential makeRequest(int algorithm, std::string userId = "user") {
  return {.clientDataJSON = std::string(180, 'c'),
          .rpId = "example.com",
          .userId = std::move(userId),
          .userName = "alice@example.com",
          .userDisplayName = "Alice",
          .algorithms = {algorithm},
          .userVerification = Requirement::discouraged,
          .residentKey = Requirement::required};
}

GetAssertion getRequest(std::vector<std::string> allowed = {}) {
  return {.clientDataJSON = std::string(180, 'c'),
          .rpId = "example.com",
          .allowed = std::move(allowed),
          .userVerification = Requirement::discouraged};
}

std::unique_ptr<KeyKeeper> keeper() {
  return std::make_unique<SoftwareKeyKeeper>("bench", Secret(std::string(32, 'k')));
}

// OpenSSL alone, as a program without this library would call it.

EVP_PKEY* bareKey(int algorithm) {
  return algorithm == cose::kES256 ? EVP_EC_gen("P-256")
                                   : EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519");
}

void bareCreate(benchmark::State& state, int algorithm) {
  for (auto _ : state) {
    EVP_PKEY* key = bareKey(algorithm);
    require(key != nullptr, "key");
    EVP_PKEY_free(key);
  }
}

void bareSign(benchmark::State& state, int algorithm) {
  EVP_PKEY* key = bareKey(algorithm);
  const std::string message(69, 'm');
  unsigned char signature[80];
  for (auto _ : state) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    std::size_t size = sizeof signature;
    EVP_DigestSignInit(context, nullptr, algorithm == cose::kES256 ? EVP_sha256() : nullptr,
                       nullptr, key);
    require(
        EVP_DigestSign(context, signature, &size,
                       reinterpret_cast<const unsigned char*>(message.data()), message.size()) == 1,
        "signature");
    EVP_MD_CTX_free(context);
  }
  EVP_PKEY_free(key);
}

// A credential with its attestation object; an assertion with a key that is opened for it.

void ourCreate(benchmark::State& state, int algorithm) {
  const auto keys = keeper();
  const auto request = makeRequest(algorithm);
  for (auto _ : state) {
    benchmark::DoNotOptimize(valueOf(create(*keys, algorithm, request, true)));
  }
}

void ourSign(benchmark::State& state, int algorithm) {
  const auto keys = keeper();
  const auto credential =
      valueOf(create(*keys, algorithm, makeRequest(algorithm), true)).credential;
  const auto request = getRequest();
  std::uint32_t counter = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(valueOf(assertWith(*keys, credential, ++counter, request, true)));
  }
}

fs::path newFolder(const fs::path& where) {
  auto name = (where / "veltrane-bench-XXXXXX").string();
  require(mkdtemp(name.data()) != nullptr, "mkdtemp");
  return name;
}

/// The main thread, and someone who agrees to everything.
struct Main {
  static Main& get() {
    static Main main;
    return main;
  }
  static Platform platformOf(std::shared_ptr<MainQueue> queue) {
    Platform platform;
    platform.mainQueue = std::move(queue);
    return platform;
  }
  std::shared_ptr<loop::RunLoop> loop = std::make_shared<loop::RunLoop>();
  PlatformScope platform{platformOf(loop)};
  std::shared_ptr<PasskeySheet> sheet = std::make_shared<PasskeySheet>();
  Subscription changes = sheet->changed.subscribe([this] { sheet->confirm(); });
};

/// Files in memory, where flushing costs nothing and hides nothing.
fs::path memory() {
  const fs::path folder = "/dev/shm";
  return fs::is_directory(folder) ? folder : fs::temp_directory_path();
}

/// An authenticator on a file of its own, which holds `others` beside the credential it uses.
class Device {
 public:
  Device(const fs::path& where, int others) : folder_(newFolder(where)) {
    fill(others);
    authenticator_ = std::make_unique<PlatformAuthenticator>(PlatformAuthenticatorOptions{
        .file = folder_ / "passkeys.db", .keepers = {[](const StorePlace&) { return keeper(); }}});
    id_ = make().id;
  }
  ~Device() {
    authenticator_.reset();
    fs::remove_all(folder_);
  }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  MadeCredential make() {
    return run<MadeCredential>([this](auto heard) {
      return authenticator_->make(makeRequest(cose::kES256, "mine"), Main::get().sheet, heard);
    });
  }
  Assertion get() {
    return run<Assertion>([this](auto heard) {
      return authenticator_->get(getRequest({id_}), Main::get().sheet, heard);
    });
  }

 private:
  void fill(int others) {
    CredentialStore store(folder_ / "passkeys.db");
    const auto keys = keeper();
    for (int i = 0; i < others; ++i) {
      auto made = valueOf(create(*keys, cose::kES256, makeRequest(cose::kES256), false));
      // A tenth are other accounts at the same relying party.
      if (i % 10 != 0) made.credential.rpId = "example" + std::to_string(i) + ".com";
      made.credential.userId = std::to_string(i);
      valueOf(store.add(made.credential));
    }
  }

  template <typename Value, typename Start>
  Value run(const Start& start) {
    std::optional<PasskeyResult<Value>> result;
    const auto handle = start([&](PasskeyResult<Value> heard) { result = std::move(heard); });
    Main::get().loop->runUntil([&] { return result.has_value(); }, std::chrono::minutes(1));
    require(result.has_value(), "an answer");
    return valueOf(std::move(*result));
  }

  fs::path folder_;
  std::unique_ptr<PlatformAuthenticator> authenticator_;
  std::string id_;
};

void signIn(benchmark::State& state, int others) {
  static std::map<int, std::unique_ptr<Device>> devices;
  auto& device = devices[others];
  if (!device) device = std::make_unique<Device>(memory(), others);
  for (auto _ : state) benchmark::DoNotOptimize(device->get());
}

void registerStored(benchmark::State& state, bool inMemory) {
  Device device(inMemory ? memory() : fs::temp_directory_path(), 0);
  for (auto _ : state) benchmark::DoNotOptimize(device.make());
}

void signInStored(benchmark::State& state) {
  Device device(fs::temp_directory_path(), 0);
  for (auto _ : state) benchmark::DoNotOptimize(device.get());
}

}  // namespace

int main(int argc, char** argv) {
  Main::get();
  std::vector<bench::Pair> pairs;
  const auto add = [](const std::string& name, auto... arguments) {
    return benchmark::RegisterBenchmark(name.c_str(), arguments...)
        ->Unit(benchmark::kMicrosecond)
        ->MinTime(0.05)
        ->UseRealTime();
  };
  for (const int algorithm : {cose::kES256, cose::kEdDSA}) {
    const std::string name = algorithm == cose::kES256 ? "ES256" : "EdDSA";
    add("create_" + name, ourCreate, algorithm);
    add("key_" + name, bareCreate, algorithm);
    add("sign_" + name, ourSign, algorithm);
    add("signature_" + name, bareSign, algorithm);
    pairs.push_back({name + ": a credential / a bare key", "create_" + name, "key_" + name, 1.3});
    pairs.push_back(
        {name + ": an assertion / a bare signature", "sign_" + name, "signature_" + name, 1.3});
  }
  add("register_in_memory", registerStored, true);
  add("register_on_disk", registerStored, false);
  add("sign_in_on_disk", signInStored);
  add("sign_in_one", signIn, 0);
  add("sign_in_10000", signIn, 10000);
  pairs.push_back({"sign-in with 10,000 stored / with one", "sign_in_10000", "sign_in_one", 1.2});
  return bench::runPairs(argc, argv, std::move(pairs));
}
