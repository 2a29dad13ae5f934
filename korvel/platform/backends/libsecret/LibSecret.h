#pragma once

#include <libsecret/secret.h>

namespace korvel::platform {

/// The functions of the library and of GLib that are used here, found when the process runs: a host
/// on a device without them starts all the same.
struct LibSecret {
    /// Null if this machine has no (recent enough) library. Never unloaded.
    static const LibSecret* load();

    // clang-format off
    decltype(&::g_bus_get_sync) g_bus_get_sync;
    decltype(&::g_cancellable_cancel) g_cancellable_cancel;
    decltype(&::g_cancellable_new) g_cancellable_new;
    decltype(&::g_dbus_connection_call_sync) g_dbus_connection_call_sync;
    decltype(&::g_dbus_connection_is_closed) g_dbus_connection_is_closed;
    decltype(&::g_dbus_connection_set_exit_on_close) g_dbus_connection_set_exit_on_close;
    decltype(&::g_error_free) g_error_free;
    decltype(&::g_error_matches) g_error_matches;
    decltype(&::g_hash_table_unref) g_hash_table_unref;
    decltype(&::g_io_error_quark) g_io_error_quark;
    decltype(&::g_list_free_full) g_list_free_full;
    decltype(&::g_object_unref) g_object_unref;
    decltype(&::g_variant_get) g_variant_get;
    decltype(&::g_variant_new) g_variant_new;
    decltype(&::g_variant_unref) g_variant_unref;
    decltype(&::secret_attributes_build) secret_attributes_build;
    decltype(&::secret_error_get_quark) secret_error_get_quark;
    decltype(&::secret_item_delete_sync) secret_item_delete_sync;
    decltype(&::secret_item_get_locked) secret_item_get_locked;
    decltype(&::secret_item_get_secret) secret_item_get_secret;
    decltype(&::secret_service_disconnect) secret_service_disconnect;
    decltype(&::secret_service_get_sync) secret_service_get_sync;
    decltype(&::secret_service_search_sync) secret_service_search_sync;
    decltype(&::secret_service_store_sync) secret_service_store_sync;
    decltype(&::secret_value_get) secret_value_get;
    decltype(&::secret_value_new) secret_value_new;
    decltype(&::secret_value_unref) secret_value_unref;
    // clang-format on
};

}  // namespace korvel::platform
