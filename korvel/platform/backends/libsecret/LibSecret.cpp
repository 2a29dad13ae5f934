#include <korvel/platform/backends/libsecret/LibSecret.h>

#include <dlfcn.h>

#include <optional>

namespace korvel::platform {

namespace {

template <class Function> bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

std::optional<LibSecret> loaded() {
    // GLib comes with it: a look-up also searches the libraries that this one needs.
    void* library = dlopen("libsecret-1.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    LibSecret lib{};
#define KORVEL_FIND(name) find(library, #name, lib.name)
    const bool complete =
        library && KORVEL_FIND(g_bus_get_sync) && KORVEL_FIND(g_cancellable_cancel) &&
        KORVEL_FIND(g_cancellable_new) && KORVEL_FIND(g_dbus_connection_call_sync) &&
        KORVEL_FIND(g_dbus_connection_is_closed) &&
        KORVEL_FIND(g_dbus_connection_set_exit_on_close) && KORVEL_FIND(g_error_free) &&
        KORVEL_FIND(g_error_matches) && KORVEL_FIND(g_hash_table_unref) &&
        KORVEL_FIND(g_io_error_quark) && KORVEL_FIND(g_list_free_full) &&
        KORVEL_FIND(g_object_unref) && KORVEL_FIND(g_variant_get) && KORVEL_FIND(g_variant_new) &&
        KORVEL_FIND(g_variant_unref) && KORVEL_FIND(secret_attributes_build) &&
        KORVEL_FIND(secret_error_get_quark) && KORVEL_FIND(secret_item_delete_sync) &&
        KORVEL_FIND(secret_item_get_locked) && KORVEL_FIND(secret_item_get_secret) &&
        KORVEL_FIND(secret_service_disconnect) && KORVEL_FIND(secret_service_get_sync) &&
        KORVEL_FIND(secret_service_search_sync) && KORVEL_FIND(secret_service_store_sync) &&
        KORVEL_FIND(secret_value_get) && KORVEL_FIND(secret_value_new) &&
        KORVEL_FIND(secret_value_unref);
#undef KORVEL_FIND
    return complete ? std::optional(lib) : std::nullopt;
}

}  // namespace

const LibSecret* LibSecret::load() {
    static const std::optional<LibSecret> once = loaded();
    return once ? &*once : nullptr;
}

}  // namespace korvel::platform
