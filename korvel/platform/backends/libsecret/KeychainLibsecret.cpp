#include <korvel/platform/backends/libsecret/KeychainLibsecret.h>
#include <korvel/platform/backends/libsecret/LibSecret.h>
#include <korvel/platform/foundation/Delay.h>
#include <korvel/platform/security/PrivateFiles.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace korvel::platform {

namespace {

constexpr std::chrono::seconds patience{10};
constexpr std::chrono::milliseconds lockPatience{450};
constexpr std::chrono::milliseconds startPatience{500};

const SecretSchema schema = {"org.korvel.ContentSDK.Keychain",
                             SECRET_SCHEMA_NONE,
                             {{"application", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                             0,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr};

/// Owns what the library hands out.
template <class T> using Owned = std::unique_ptr<T, std::function<void(T*)>>;

/// Cancels the library's waiting when the time is up. Its own time-outs are 25 s and more, per
/// message.
class Deadline {
public:
    Deadline(const LibSecret& lib, std::chrono::milliseconds limit)
        : lib_(lib), cancellable_(lib.g_cancellable_new()) {
        runAfter(limit, [&lib, cancellable = cancellable_, call = call_] {
            const std::lock_guard lock(call->mutex);
            if (!call->over) lib.g_cancellable_cancel(cancellable);
        });
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    ~Deadline() {
        const std::lock_guard lock(call_->mutex);
        call_->over = true;
        lib_.g_object_unref(cancellable_);
    }
    GCancellable* get() const { return cancellable_; }

private:
    struct Call {
        std::mutex mutex;
        bool over = false;
    };
    const LibSecret& lib_;
    GCancellable* const cancellable_;
    const std::shared_ptr<Call> call_ = std::make_shared<Call>();
};

/// Receives the error of one call.
class Failure {
public:
    explicit Failure(const LibSecret& lib) : lib_(lib) {}
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;
    ~Failure() {
        if (error_) lib_.g_error_free(error_);
    }
    GError** out() { return &error_; }
    bool happened() const { return error_ != nullptr; }
    OSStatus status() const {
        const GQuark secrets = lib_.secret_error_get_quark();
        return lib_.g_error_matches(error_, secrets, SECRET_ERROR_IS_LOCKED) ? errSecAuthFailed
                                                                             : errSecNotAvailable;
    }

private:
    const LibSecret& lib_;
    GError* error_ = nullptr;
};

/// Attributes travel as UTF-8 without zeros: everything but printable ASCII is escaped, and "%"
/// too.
std::string attributeText(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (byte > ' ' && byte <= '~' && byte != '%') {
            text += byte;
        } else {
            constexpr const char* digits = "0123456789ABCDEF";
            text += {'%', digits[(byte >> 4) & 15], digits[byte & 15]};
        }
    }
    return text;
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
    return value ? value : "";
}

Owned<GDBusConnection> sessionBus(const LibSecret& lib, GCancellable* deadline) {
    Failure failure(lib);
    GDBusConnection* bus = lib.g_bus_get_sync(G_BUS_TYPE_SESSION, deadline, failure.out());
    if (!bus) return nullptr;
    // GLib's default is to end the process when the desktop's bus goes away.
    lib.g_dbus_connection_set_exit_on_close(bus, FALSE);
    Owned<GDBusConnection> owned{bus, lib.g_object_unref};
    return lib.g_dbus_connection_is_closed(bus) ? nullptr : std::move(owned);
}

class KeychainLibsecret final : public Keychain {
public:
    KeychainLibsecret(const LibSecret& lib, std::string_view applicationName)
        : lib_(lib), application_(attributeText(applicationName)) {}

    OSStatus SecItemAdd(const SecItemQuery& query) override;
    OSStatus SecItemCopyMatching(const SecItemQuery& query, std::optional<Data>& result) override;
    OSStatus SecItemDelete(const SecItemQuery& query) override;

private:
    struct Call;
    using Items = Owned<GList>;

    template <class Work> OSStatus perform(Work work);
    Owned<GHashTable> attributes(const std::optional<std::string>& account) const;
    /// Success also if there are none.
    OSStatus search(const Call& call, const std::optional<std::string>& account, int flags,
                    Items& items) const;
    OSStatus store(const Call& call, const SecItemQuery& query) const;
    OSStatus copyValue(SecretItem* item, std::optional<Data>& result) const;

    const LibSecret& lib_;
    const std::string application_;
    std::mutex mutex_;
    std::atomic<bool> waitedInVain_ = false;  ///< for other processes, the last time
};

struct KeychainLibsecret::Call {
    SecretService* service;
    GCancellable* deadline;
};

template <class Work> OSStatus KeychainLibsecret::perform(Work work) {
    const std::lock_guard lock(mutex_);
    const Deadline deadline(lib_, patience);
    const auto bus = sessionBus(lib_, deadline.get());
    if (!bus) return errSecNotAvailable;
    Failure failure(lib_);
    OSStatus status = errSecNotAvailable;
    if (SecretService* service = lib_.secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION,
                                                              deadline.get(), failure.out())) {
        status = work(Call{service, deadline.get()});
        lib_.g_object_unref(service);
    }
    // The library would keep its view of a service that has gone.
    if (status == errSecNotAvailable) lib_.secret_service_disconnect();
    return status;
}

Owned<GHashTable> KeychainLibsecret::attributes(const std::optional<std::string>& account) const {
    GHashTable* made =
        account
            ? lib_.secret_attributes_build(&schema, "application", application_.c_str(), "account",
                                           attributeText(*account).c_str(), nullptr)
            : lib_.secret_attributes_build(&schema, "application", application_.c_str(), nullptr);
    return {made, lib_.g_hash_table_unref};
}

OSStatus KeychainLibsecret::search(const Call& call, const std::optional<std::string>& account,
                                   int flags, Items& items) const {
    Failure failure(lib_);
    GList* found = lib_.secret_service_search_sync(call.service, &schema, attributes(account).get(),
                                                   static_cast<SecretSearchFlags>(flags),
                                                   call.deadline, failure.out());
    items = {found, [this](GList* list) { lib_.g_list_free_full(list, lib_.g_object_unref); }};
    return failure.happened() ? failure.status() : errSecSuccess;
}

OSStatus KeychainLibsecret::store(const Call& call, const SecItemQuery& query) const {
    const Data bytes = query.valueData.value_or(Data());
    const auto text = viewOf(bytes);
    const Owned<SecretValue> value{
        lib_.secret_value_new(text.empty() ? "" : text.data(), static_cast<gssize>(text.size()),
                              "application/octet-stream"),
        [this](SecretValue* unused) { lib_.secret_value_unref(unused); }};
    const std::string label = application_ + ": " + attributeText(*query.account);
    Failure failure(lib_);
    lib_.secret_service_store_sync(call.service, &schema, attributes(query.account).get(),
                                   SECRET_COLLECTION_DEFAULT, label.c_str(), value.get(),
                                   call.deadline, failure.out());
    return failure.happened() ? failure.status() : errSecSuccess;
}

OSStatus KeychainLibsecret::SecItemAdd(const SecItemQuery& query) {
    if (!query.account) return errSecParam;
    std::optional<FileLock> otherProcesses;
    if (const auto folder = environment("XDG_RUNTIME_DIR"); !folder.empty()) {
        // Without the lock two processes may add the same item at once; a log-in that waits is
        // worse.
        const auto limit = waitedInVain_ ? std::chrono::milliseconds::zero() : lockPatience;
        otherProcesses.emplace(folder + "/korvel-keychain.lock", limit);
        waitedInVain_ = !otherProcesses->held();
    }
    return perform([&](const Call& call) {
        Items present;
        const OSStatus status = search(call, query.account, SECRET_SEARCH_NONE, present);
        if (status != errSecSuccess) return status;
        return present ? errSecDuplicateItem : store(call, query);
    });
}

OSStatus KeychainLibsecret::SecItemCopyMatching(const SecItemQuery& query,
                                                std::optional<Data>& result) {
    result.reset();
    const int flags =
        query.returnData ? SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS : SECRET_SEARCH_NONE;
    return perform([&](const Call& call) {
        Items items;
        const OSStatus status = search(call, query.account, flags, items);
        if (status != errSecSuccess) return status;
        if (!items) return errSecItemNotFound;
        return query.returnData ? copyValue(static_cast<SecretItem*>(items->data), result)
                                : errSecSuccess;
    });
}

OSStatus KeychainLibsecret::copyValue(SecretItem* item, std::optional<Data>& result) const {
    SecretValue* value = lib_.secret_item_get_secret(item);
    if (!value) return lib_.secret_item_get_locked(item) ? errSecAuthFailed : errSecIO;
    gsize size = 0;
    const auto* begin = lib_.secret_value_get(value, &size);
    result = bytesOf({begin, size});
    lib_.secret_value_unref(value);
    return errSecSuccess;
}

OSStatus KeychainLibsecret::SecItemDelete(const SecItemQuery& query) {
    return perform([&](const Call& call) {
        Items items;
        const OSStatus status =
            search(call, query.account, SECRET_SEARCH_ALL | SECRET_SEARCH_UNLOCK, items);
        if (status != errSecSuccess) return status;
        for (const GList* item = items.get(); item; item = item->next) {
            Failure failure(lib_);
            lib_.secret_item_delete_sync(static_cast<SecretItem*>(item->data), call.deadline,
                                         failure.out());
            if (failure.happened()) return failure.status();
        }
        return items ? errSecSuccess : errSecItemNotFound;
    });
}

/// Without this check GLib would start a bus of its own.
bool hasSessionBus() {
    if (!environment("DBUS_SESSION_BUS_ADDRESS").empty()) return true;
    std::error_code ignored;
    const auto folder = environment("XDG_RUNTIME_DIR");
    return !folder.empty() && std::filesystem::exists(folder + "/bus", ignored);
}

bool serviceRuns(const LibSecret& lib) {
    const Deadline deadline(lib, startPatience);
    Failure failure(lib);
    const auto bus = sessionBus(lib, deadline.get());
    if (!bus) return false;
    const Owned<GVariant> answer{
        lib.g_dbus_connection_call_sync(
            bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "NameHasOwner", lib.g_variant_new("(s)", "org.freedesktop.secrets"), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, deadline.get(), failure.out()),
        lib.g_variant_unref};
    gboolean owned = FALSE;
    if (answer) lib.g_variant_get(answer.get(), "(b)", &owned);
    return owned != FALSE;
}

}  // namespace

std::shared_ptr<Keychain> makeKeychainLibsecret(std::string applicationName) {
    if (!hasSessionBus()) return nullptr;
    const LibSecret* lib = LibSecret::load();
    if (!lib || !serviceRuns(*lib)) return nullptr;
    return std::make_shared<KeychainLibsecret>(*lib, applicationName);
}

}  // namespace korvel::platform
