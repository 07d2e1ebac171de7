#include "platform/authenticator/secret_service_connection.h"

namespace veltrane::authenticator {
namespace {

constexpr const char* kDefault = "default";
const SecretSchema kSchema{.name = "veltrane.Passkeys",
                           .flags = SECRET_SCHEMA_NONE,
                           .attributes = {{"application", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                          {"purpose", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                          {"store", SECRET_SCHEMA_ATTRIBUTE_STRING}}};

/// Takes what a function of GLib's says about its failure.
class Failure {
 public:
  Failure() = default;
  ~Failure() {
    if (error_) libsecret().g_error_free(error_);
  }
  Failure(const Failure&) = delete;
  Failure& operator=(const Failure&) = delete;

  GError** out() { return &error_; }
  void rethrow(const std::string& cause, const std::string& remedy) const {
    if (error_) throw SecretServiceTrouble(cause + error_->message, remedy, error_->code);
  }
  void rethrow() const {
    if (error_ && error_->domain == libsecret().g_dbus_error_quark() &&
        (error_->code == G_DBUS_ERROR_SERVICE_UNKNOWN ||
         error_->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER)) {
      rethrow("No secret service is on the session bus: ",
              "Install and start one (gnome-keyring, KWallet, KeePassXC), or choose a passphrase.");
    }
    rethrow("The secret service failed: ", "Sign out of the desktop and in again.");
  }

 private:
  GError* error_ = nullptr;
};

[[noreturn]] void refuseLocked() {
  throw SecretServiceTrouble("The keyring is locked.",
                             "Unlock it in the desktop's password manager, then try again.");
}

class Attributes {
 public:
  explicit Attributes(const std::string& storeId)
      : table_(libsecret().g_hash_table_new(libsecret().g_str_hash, libsecret().g_str_equal)) {
    add("application", "veltraneflow");
    add("purpose", "passkey wrapping key");
    add("store", storeId.c_str());
  }
  ~Attributes() { libsecret().g_hash_table_unref(table_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
  GHashTable* get() const { return table_; }

 private:
  /// The table holds names and values by their address and frees none.
  void add(const char* name, const char* value) {
    libsecret().g_hash_table_insert(table_, const_cast<char*>(name), const_cast<char*>(value));
  }

  GHashTable* table_;
};

struct ValueUnref {
  void operator()(SecretValue* value) const { libsecret().secret_value_unref(value); }
};
using Value = std::unique_ptr<SecretValue, ValueUnref>;

struct FreeItems {
  void operator()(GList* items) const {
    libsecret().g_list_free_full(items, libsecret().g_object_unref);
  }
};

}  // namespace

SecretServiceConnection::SecretServiceConnection(GCancellable* cancellable, bool session)
    : cancellable_(cancellable) {
  Failure noBus;
  bus_.reset(libsecret().g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, noBus.out()));
  noBus.rethrow("The session bus cannot be reached: ",
                "Start the program from within a desktop session, or choose a passphrase.");
  // As GLib has it, the end of the session's bus would be the end of this program.
  libsecret().g_dbus_connection_set_exit_on_close(bus_.get(), FALSE);
  Failure noService;
  service_.reset(libsecret().secret_service_open_sync(
      libsecret().secret_service_get_type(), nullptr,
      session ? SECRET_SERVICE_OPEN_SESSION : SECRET_SERVICE_NONE, cancellable, noService.out()));
  noService.rethrow();
}

void SecretServiceConnection::requireKeyring() const {
  Failure failure;
  const GOwned<SecretCollection> keyring(libsecret().secret_collection_for_alias_sync(
      service_.get(), kDefault, SECRET_COLLECTION_NONE, cancellable_, failure.out()));
  failure.rethrow();
  if (!keyring) {
    throw SecretServiceTrouble("There is no default keyring.",
                               "Make one in the desktop's password manager.");
  }
  if (libsecret().secret_collection_get_locked(keyring.get())) refuseLocked();
}

std::optional<Secret> SecretServiceConnection::find(const std::string& storeId) const {
  const Attributes attributes(storeId);
  Failure failure;
  const std::unique_ptr<GList, FreeItems> items(libsecret().secret_service_search_sync(
      service_.get(), &kSchema, attributes.get(), SECRET_SEARCH_LOAD_SECRETS, cancellable_,
      failure.out()));
  failure.rethrow();
  if (!items) return std::nullopt;
  auto* item = static_cast<SecretItem*>(items->data);
  if (libsecret().secret_item_get_locked(item)) refuseLocked();
  const Value value(libsecret().secret_item_get_secret(item));
  if (!value) {
    throw SecretServiceTrouble("The keyring does not hand out the key it has.",
                               "Unlock it in the desktop's password manager, then try again.");
  }
  gsize size = 0;
  const char* bytes = libsecret().secret_value_get(value.get(), &size);
  return Secret(std::string_view(bytes, size));
}

void SecretServiceConnection::store(const std::string& storeId, const Secret& secret) const {
  const Attributes attributes(storeId);
  const auto bytes = secret.bytes();
  const Value value(libsecret().secret_value_new(bytes.data(), static_cast<gssize>(bytes.size()),
                                                 "application/octet-stream"));
  Failure failure;
  libsecret().secret_service_store_sync(service_.get(), &kSchema, attributes.get(), kDefault,
                                        "Passkeys of VeltraneFlow", value.get(), cancellable_,
                                        failure.out());
  failure.rethrow();
}

void SecretServiceConnection::remove(const std::string& storeId) const {
  const Attributes attributes(storeId);
  Failure failure;
  libsecret().secret_service_clear_sync(service_.get(), &kSchema, attributes.get(), cancellable_,
                                        failure.out());
  failure.rethrow();
}

}  // namespace veltrane::authenticator
