#pragma once

#include <libsecret/secret.h>

#include <memory>

namespace veltrane::authenticator {

// Few programs that this is part of have a desktop's keyring to ask: libsecret, and GLib with it,
// is loaded when a key is first looked for, and called through this table.
#define VELTRANE_SECRET_FUNCTIONS(each)                                                           \
  each(secret_service_get_type) each(secret_service_open_sync) each(secret_service_search_sync)   \
      each(secret_service_store_sync) each(secret_service_clear_sync)                             \
          each(secret_collection_for_alias_sync) each(secret_collection_get_locked)               \
              each(secret_item_get_locked) each(secret_item_get_secret) each(secret_value_new)    \
                  each(secret_value_get) each(secret_value_unref) each(g_bus_get_sync)            \
                      each(g_cancellable_cancel) each(g_cancellable_new)                          \
                          each(g_dbus_connection_set_exit_on_close) each(g_dbus_error_quark)      \
                              each(g_error_free) each(g_hash_table_insert) each(g_hash_table_new) \
                                  each(g_hash_table_unref) each(g_list_free_full)                 \
                                      each(g_object_unref) each(g_str_equal) each(g_str_hash)

#define VELTRANE_SECRET_MEMBER(name) decltype(&::name) name = nullptr;
struct SecretFunctions {
  VELTRANE_SECRET_FUNCTIONS(VELTRANE_SECRET_MEMBER)
};
#undef VELTRANE_SECRET_MEMBER

/// Loads libsecret at the first call; it stays until the program ends. Throws std::runtime_error,
/// saying why, if it cannot be had. Any thread.
const SecretFunctions& libsecret();

struct GObjectUnref {
  void operator()(void* object) const { libsecret().g_object_unref(object); }
};
template <typename Type>
using GOwned = std::unique_ptr<Type, GObjectUnref>;

}  // namespace veltrane::authenticator
