#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/authenticator/secret_service_library.h"
#include "veltrane/base/secret.h"

namespace veltrane::authenticator {

/// Why the secret service keeps no key, for a person.
class SecretServiceTrouble : public std::runtime_error {
 public:
  SecretServiceTrouble(const std::string& cause, std::string remedy,
                       std::optional<std::int64_t> code = std::nullopt)
      : std::runtime_error(cause), remedy_(std::move(remedy)), code_(code) {}
  const std::string& remedy() const { return remedy_; }
  /// GLib's, where it failed.
  std::optional<std::int64_t> code() const { return code_; }

 private:
  std::string remedy_;
  std::optional<std::int64_t> code_;
};

/// The secret service of this session. Nobody is asked anything: what is locked stays so. Blocks;
/// each call throws a SecretServiceTrouble where it fails, soon once `cancellable` is cancelled.
class SecretServiceConnection {
 public:
  /// `session`: whether secrets will be asked for, which then pass encrypted.
  SecretServiceConnection(GCancellable* cancellable, bool session);

  /// That the default keyring is there and unlocked.
  void requireKeyring() const;
  /// The item's bytes; nothing where there is none.
  std::optional<Secret> find(const std::string& storeId) const;
  /// Takes the place of one that is there.
  void store(const std::string& storeId, const Secret& value) const;
  void remove(const std::string& storeId) const;

 private:
  GCancellable* cancellable_;
  GOwned<GDBusConnection> bus_;
  GOwned<SecretService> service_;
};

}  // namespace veltrane::authenticator
