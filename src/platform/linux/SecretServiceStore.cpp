#include "platform/linux/SecretServiceStore.h"

// GLib's names clash with Qt's `signals`, so it comes first and alone.
#include <libsecret/secret.h>

#include "platform/linux/SessionBus.h"

#include <functional>
#include <future>
#include <memory>
#include <thread>

namespace ternvault {

namespace {

const SecretSchema* schema() {
    static const SecretSchema ours = [] {
        SecretSchema fields{};
        fields.name = "space.larkspur.ternvault";
        fields.flags = SECRET_SCHEMA_NONE;
        fields.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        fields.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return fields;
    }();
    return &ours;
}

GHashTable* attributes(const SecretKey& key) {
    return secret_attributes_build(schema(), "service", key.service.toUtf8().constData(), "account",
                                   key.account.toUtf8().constData(), nullptr);
}

/// A session with the service while its default collection is unlocked; nothing otherwise. A session of its
/// own for every call: the service may have been restarted since the last one.
SecretService* openUnlocked(GCancellable* cancellable) {
    // Without one, GLib would start a bus of its own.
    if (!sessionHasBus())
        return nullptr;
    g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, nullptr);
    if (bus == nullptr)
        return nullptr;
    // Or the end of the bus would end this process.
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_autoptr(SecretService) service = secret_service_open_sync(
        SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, nullptr);
    if (service == nullptr)
        return nullptr;
    g_autoptr(SecretCollection) collection = secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, nullptr);
    if (collection == nullptr || secret_collection_get_locked(collection))
        return nullptr;
    return g_steal_pointer(&service);
}

/// Runs the call on a thread of its own and gives up on it at the deadline, with the value that `Result`
/// starts with. Such a thread ends when the cancelled call does; it touches nothing but its own copies.
template <typename Result>
Result callWithin(std::chrono::milliseconds deadline,
                  std::function<Result(SecretService*, GCancellable*)> call) {
    const std::shared_ptr<GCancellable> cancellable(g_cancellable_new(), g_object_unref);
    std::packaged_task<Result()> task([cancellable, call = std::move(call)] {
        g_autoptr(SecretService) service = openUnlocked(cancellable.get());
        return service != nullptr ? call(service, cancellable.get()) : Result{};
    });
    std::future<Result> answer = task.get_future();
    std::thread(std::move(task)).detach();
    if (answer.wait_for(deadline) == std::future_status::ready)
        return answer.get();
    g_cancellable_cancel(cancellable.get());
    return Result{};
}

SecretAnswer answerFrom(GList* items) {
    if (items == nullptr)
        return {SecretAnswer::State::absent, {}};
    g_autoptr(SecretValue) value = secret_item_get_secret(SECRET_ITEM(items->data));
    if (value == nullptr)
        return {};
    gsize size = 0;
    const gchar* const bytes = secret_value_get(value, &size);
    return {SecretAnswer::State::found, QByteArray(bytes, static_cast<qsizetype>(size))};
}

} // namespace

SecretAnswer SecretServiceStore::find(const SecretKey& key) {
    return callWithin<SecretAnswer>(deadline_, [key](SecretService* service, GCancellable* cancellable) {
        g_autoptr(GHashTable) query = attributes(key);
        g_autoptr(GError) error = nullptr;
        GList* const items = secret_service_search_sync(service, schema(), query, SECRET_SEARCH_LOAD_SECRETS,
                                                        cancellable, &error);
        SecretAnswer answer = error == nullptr ? answerFrom(items) : SecretAnswer{};
        g_list_free_full(items, g_object_unref);
        return answer;
    });
}

bool SecretServiceStore::store(const SecretKey& key, const QByteArray& secret) {
    return callWithin<bool>(deadline_, [key, secret](SecretService* service, GCancellable* cancellable) {
        g_autoptr(GHashTable) item = attributes(key);
        g_autoptr(SecretValue) value = secret_value_new(secret.constData(), secret.size(), "text/plain");
        return secret_service_store_sync(service, schema(), item, SECRET_COLLECTION_DEFAULT, "Tern Vault",
                                         value, cancellable, nullptr) != FALSE;
    });
}

bool SecretServiceStore::remove(const SecretKey& key) {
    return callWithin<bool>(deadline_, [key](SecretService* service, GCancellable* cancellable) {
        g_autoptr(GHashTable) query = attributes(key);
        g_autoptr(GError) error = nullptr;
        secret_service_clear_sync(service, schema(), query, cancellable, &error);
        return error == nullptr;
    });
}

} // namespace ternvault
