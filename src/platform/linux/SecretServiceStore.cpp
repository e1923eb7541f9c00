#include "platform/linux/SecretServiceStore.h"

// GLib's names clash with Qt's `signals`, so it comes first and alone.
#include <libsecret/secret.h>

#include "platform/linux/SessionBus.h"

#include <functional>
#include <future>
#include <memory>
#include <mutex>
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

SecretService* openService(GCancellable* cancellable) {
    // Without one, GLib would start a bus of its own.
    if (!sessionHasBus())
        return nullptr;
    g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, nullptr);
    if (bus == nullptr)
        return nullptr;
    // Or the end of the bus would end this process.
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    return secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable,
                                    nullptr);
}

bool isUnlocked(SecretService* service, GCancellable* cancellable) {
    g_autoptr(SecretCollection) collection = secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, nullptr);
    return collection != nullptr && secret_collection_get_locked(collection) == FALSE;
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

bool isAnswer(const SecretAnswer& answer) {
    return answer.state != SecretAnswer::State::unavailable;
}

bool isAnswer(bool done) {
    return done;
}

} // namespace

/// One session with the service for all calls, because agreeing on its key takes some 20 ms. The service may
/// be restarted and then knows it no more, so what fails in a kept session is tried again in a new one.
class SecretServiceSession {
public:
    SecretServiceSession() = default;
    SecretServiceSession(const SecretServiceSession&) = delete;
    SecretServiceSession& operator=(const SecretServiceSession&) = delete;
    ~SecretServiceSession() { g_clear_object(&service_); }

    void open() {
        const std::lock_guard lock(mutex_);
        if (service_ == nullptr)
            service_ = openService(nullptr);
    }

    template <typename Result>
    Result perform(const std::function<Result(SecretService*, GCancellable*)>& call,
                   GCancellable* cancellable) {
        const std::lock_guard lock(mutex_);
        if (service_ != nullptr) {
            const Result answer = performIfUnlocked(call, cancellable);
            if (isAnswer(answer))
                return answer;
            g_clear_object(&service_);
        }
        service_ = openService(cancellable);
        return service_ != nullptr ? performIfUnlocked(call, cancellable) : Result{};
    }

private:
    template <typename Result>
    Result performIfUnlocked(const std::function<Result(SecretService*, GCancellable*)>& call,
                             GCancellable* cancellable) {
        return isUnlocked(service_, cancellable) ? call(service_, cancellable) : Result{};
    }

    std::mutex mutex_;
    SecretService* service_ = nullptr;
};

namespace {

/// Runs the call on a thread of its own and gives up on it at the deadline, with the value that `Result`
/// starts with. Such a thread ends when the cancelled call does; it touches nothing but what it shares in
/// owning.
template <typename Result>
Result callWithin(std::chrono::milliseconds deadline, const std::shared_ptr<SecretServiceSession>& session,
                  std::function<Result(SecretService*, GCancellable*)> call) {
    const std::shared_ptr<GCancellable> cancellable(g_cancellable_new(), g_object_unref);
    std::packaged_task<Result()> task(
        [cancellable, session, call = std::move(call)] { return session->perform(call, cancellable.get()); });
    std::future<Result> answer = task.get_future();
    std::thread(std::move(task)).detach();
    if (answer.wait_for(deadline) == std::future_status::ready)
        return answer.get();
    g_cancellable_cancel(cancellable.get());
    return Result{};
}

} // namespace

SecretServiceStore::SecretServiceStore(std::chrono::milliseconds deadline)
    : deadline_(deadline), session_(std::make_shared<SecretServiceSession>()) {}

SecretServiceStore SecretServiceStore::prepared() {
    SecretServiceStore store;
    std::thread([session = store.session_] { session->open(); }).detach();
    return store;
}

SecretAnswer SecretServiceStore::find(const SecretKey& key) {
    return callWithin<SecretAnswer>(
        deadline_, session_, [key](SecretService* service, GCancellable* cancellable) {
            g_autoptr(GHashTable) query = attributes(key);
            g_autoptr(GError) error = nullptr;
            GList* const items = secret_service_search_sync(service, schema(), query,
                                                            SECRET_SEARCH_LOAD_SECRETS, cancellable, &error);
            SecretAnswer answer = error == nullptr ? answerFrom(items) : SecretAnswer{};
            g_list_free_full(items, g_object_unref);
            return answer;
        });
}

bool SecretServiceStore::store(const SecretKey& key, const QByteArray& secret) {
    return callWithin<bool>(
        deadline_, session_, [key, secret](SecretService* service, GCancellable* cancellable) {
            g_autoptr(GHashTable) item = attributes(key);
            g_autoptr(SecretValue) value = secret_value_new(secret.constData(), secret.size(), "text/plain");
            return secret_service_store_sync(service, schema(), item, SECRET_COLLECTION_DEFAULT, "Tern Vault",
                                             value, cancellable, nullptr) != FALSE;
        });
}

bool SecretServiceStore::remove(const SecretKey& key) {
    return callWithin<bool>(deadline_, session_, [key](SecretService* service, GCancellable* cancellable) {
        g_autoptr(GHashTable) query = attributes(key);
        g_autoptr(GError) error = nullptr;
        secret_service_clear_sync(service, schema(), query, cancellable, &error);
        return error == nullptr;
    });
}

} // namespace ternvault
