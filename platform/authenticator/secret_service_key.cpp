#include "platform/authenticator/secret_service_key.h"

#include <fcntl.h>
#include <openssl/rand.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <thread>
#include <utility>

#include "platform/authenticator/secret_service_connection.h"
#include "platform/authenticator/software_key_keeper.h"

namespace veltrane::authenticator {
namespace {

constexpr auto kSize = SoftwareKeyKeeper::kWrappingKeySize;

/// Held until dropped, also against other threads of this program.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : fd_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (fd_ >= 0 && flock(fd_, LOCK_EX) == 0) return;
    const std::string why = std::strerror(errno);
    if (fd_ >= 0) close(fd_);
    throw SecretServiceTrouble("Cannot lock the folder " + folder + ": " + why,
                               "Make it a folder that this user may read.", errno);
  }
  ~FolderLock() { close(fd_); }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int fd_;
};

/// Without one, GLib would try to start a bus of its own.
void requireSessionBus() {
  const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address && *address) return;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && access((std::string(runtime) + "/bus").c_str(), R_OK | W_OK) == 0) return;
  throw SecretServiceTrouble(
      "There is no D-Bus session.",
      "Start the program from within a desktop session, or choose a passphrase.");
}

using Cancellable = std::shared_ptr<GCancellable>;

Cancellable loadAndMakeCancellable() {
  try {
    return {libsecret().g_cancellable_new(), GObjectUnref()};
  } catch (const std::runtime_error& failure) {
    throw SecretServiceTrouble(std::string("libsecret cannot be loaded: ") + failure.what(),
                               "Install libsecret 0.20 or newer, or choose a passphrase.");
  }
}

/// On a thread that is cancelled when its time is over, and left to itself should it not heed that.
template <typename Value>
Value inTime(std::chrono::milliseconds limit, std::function<Value(GCancellable*)> work) {
  constexpr std::chrono::seconds kGrace{1};
  requireSessionBus();
  const auto cancellable = loadAndMakeCancellable();
  std::packaged_task<Value()> task([cancellable, work] { return work(cancellable.get()); });
  auto answer = task.get_future();
  std::thread(std::move(task)).detach();
  if (answer.wait_for(limit) == std::future_status::ready) return answer.get();
  libsecret().g_cancellable_cancel(cancellable.get());
  answer.wait_for(kGrace);
  throw SecretServiceTrouble(
      "The secret service has not answered for " + std::to_string(limit.count()) + " ms.",
      "Sign out of the desktop and in again.");
}

std::optional<Secret> findKey(const SecretServiceConnection& service, const std::string& storeId) {
  auto key = service.find(storeId);
  if (key && key->size() != kSize) {
    // Not replaced: whoever changed it may still have what it was.
    throw SecretServiceTrouble(
        "What the keyring keeps for passkeys is no key.",
        "Delete \"Passkeys of VeltraneFlow\" in the desktop's password manager; passkeys that "
        "were made with it are lost.");
  }
  return key;
}

Secret makeKey() {
  std::string bytes(kSize, '\0');
  if (RAND_priv_bytes(reinterpret_cast<unsigned char*>(bytes.data()),
                      static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("RAND_priv_bytes");
  }
  return Secret(std::move(bytes));
}

Secret findOrMakeKey(const SecretServiceOptions& options, GCancellable* cancellable) {
  const FolderLock lock(options.folder);
  const SecretServiceConnection service(cancellable, true);
  if (auto key = findKey(service, options.storeId)) return *std::move(key);
  service.requireKeyring();
  service.store(options.storeId, makeKey());
  // Asked for again, so that no key is used that has not been kept.
  if (auto key = findKey(service, options.storeId)) return *std::move(key);
  throw SecretServiceTrouble("The keyring has not kept the key it was given.",
                             "Choose another default keyring in the desktop's password manager.");
}

/// True when there was one.
bool forgetKey(const SecretServiceOptions& options, GCancellable* cancellable) {
  const FolderLock lock(options.folder);
  const SecretServiceConnection service(cancellable, true);
  if (!service.find(options.storeId)) return false;
  service.remove(options.storeId);
  return true;
}

template <typename Value>
PasskeyResult<Value> tried(const SecretServiceOptions& options,
                           Value (*act)(const SecretServiceOptions&, GCancellable*)) {
  try {
    return inTime<Value>(options.limit, [options, act](GCancellable* cancellable) {
      return act(options, cancellable);
    });
  } catch (const SecretServiceTrouble& trouble) {
    return PasskeyError{.cause = trouble.what(), .causeCode = trouble.code()};
  } catch (const std::exception& failure) {
    return PasskeyError{.cause = failure.what()};
  }
}

}  // namespace

SecretServiceStatus probeSecretService(std::chrono::milliseconds limit) {
  try {
    inTime<bool>(limit, [](GCancellable* cancellable) {
      SecretServiceConnection(cancellable, false).requireKeyring();
      return true;
    });
    return {.usable = true};
  } catch (const SecretServiceTrouble& trouble) {
    return {.cause = trouble.what(), .remedy = trouble.remedy()};
  } catch (const std::exception& failure) {
    return {.cause = failure.what(), .remedy = "Try again."};
  }
}

PasskeyResult<Secret> secretServiceKey(const SecretServiceOptions& options) {
  return tried<Secret>(options, findOrMakeKey);
}

PasskeyResult<bool> forgetSecretServiceKey(const SecretServiceOptions& options) {
  return tried<bool>(options, forgetKey);
}

std::unique_ptr<KeyKeeper> makeSecretServiceKeyKeeper(const SecretServiceOptions& options) {
  auto key = secretServiceKey(options);
  if (std::holds_alternative<PasskeyError>(key)) return nullptr;
  return std::make_unique<SoftwareKeyKeeper>(kSecretServiceKeeper,
                                             std::get<Secret>(std::move(key)));
}

}  // namespace veltrane::authenticator
