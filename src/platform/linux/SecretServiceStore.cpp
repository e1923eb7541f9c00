#include "platform/linux/SecretServiceStore.h"

// GLib's names clash with Qt's `signals`, so it comes first and alone.
#include <libsecret/secret.h>

#include "platform/linux/SessionBus.h"

#include <atomic>
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
    return secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, cancellable, nullptr);
}

bool isUnlocked(SecretService* service, GCancellable* cancellable) {
    g_autoptr(SecretCollection) collection = secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, nullptr);
    return collection != nullptr && secret_collection_get_locked(collection) == FALSE;
}

/// Nothing when the item is locked.
SecretAnswer answerFrom(GList* items) {
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

/// One session with the service for all calls, because agreeing on its key takes some 20 ms; the first call
/// that carries a secret does. The service may be restarted and then knows it no more, so what fails in a
/// kept session is tried again in a new one.
class SecretServiceSession {
public:
    SecretServiceSession() = default;
    SecretServiceSession(const SecretServiceSession&) = delete;
    SecretServiceSession& operator=(const SecretServiceSession&) = delete;
    ~SecretServiceSession() { g_clear_object(&service_); }

    template <typename Result>
    Result perform(const std::function<Result(SecretService*, GCancellable*)>& call,
                   GCancellable* cancellable) {
        const std::lock_guard lock(mutex_);
        if (service_ != nullptr) {
            Result answer = call(service_, cancellable);
            if (isAnswer(answer))
                return answer;
            g_clear_object(&service_);
        }
        service_ = openService(cancellable);
        return service_ != nullptr ? call(service_, cancellable) : Result{};
    }

private:
    std::mutex mutex_;
    SecretService* service_ = nullptr;
};

namespace {

/// A call on a thread of its own. Such a thread ends when the cancelled call does; it touches nothing but
/// what it shares in owning.
template <typename Result>
class Call {
public:
    Call(const std::shared_ptr<SecretServiceSession>& session,
         std::function<Result(SecretService*, GCancellable*)> call) {
        std::packaged_task<Result()> task([cancellable = cancellable_, session, call = std::move(call)] {
            return session->perform(call, cancellable.get());
        });
        answer_ = task.get_future();
        std::thread(std::move(task)).detach();
    }

    /// Gives up at the deadline, with the value that `Result` starts with. To be asked once.
    Result within(std::chrono::milliseconds deadline) {
        if (answer_.wait_for(deadline) == std::future_status::ready)
            return answer_.get();
        g_cancellable_cancel(cancellable_.get());
        return Result{};
    }

private:
    std::shared_ptr<GCancellable> cancellable_{g_cancellable_new(), g_object_unref};
    std::future<Result> answer_;
};

Call<SecretAnswer> beginToFind(const std::shared_ptr<SecretServiceSession>& session, const SecretKey& key) {
    return {session, [key](SecretService* service, GCancellable* cancellable) {
                g_autoptr(GHashTable) query = attributes(key);
                g_autoptr(GError) error = nullptr;
                GList* const items = secret_service_search_sync(
                    service, schema(), query, SECRET_SEARCH_LOAD_SECRETS, cancellable, &error);
                SecretAnswer answer;
                if (items != nullptr)
                    answer = answerFrom(items);
                else if (error == nullptr && isUnlocked(service, cancellable))
                    answer.state = SecretAnswer::State::absent;
                g_list_free_full(items, g_object_unref);
                return answer;
            }};
}

} // namespace

/// Answers a store's first call, and only that: after a change it would be wrong.
struct SecretServiceStore::EarlyFind {
    SecretKey key;
    Call<SecretAnswer> call;
    std::atomic_flag isOver;
};

SecretServiceStore::SecretServiceStore(std::chrono::milliseconds deadline)
    : deadline_(deadline), session_(std::make_shared<SecretServiceSession>()) {}

SecretServiceStore SecretServiceStore::preparedToFind(const SecretKey& key) {
    SecretServiceStore store;
    store.early_.reset(new EarlyFind{key, beginToFind(store.session_, key), {}});
    return store;
}

bool SecretServiceStore::endFirstCall() {
    return early_ != nullptr && !early_->isOver.test_and_set();
}

SecretAnswer SecretServiceStore::find(const SecretKey& key) {
    if (endFirstCall() && early_->key == key)
        return early_->call.within(deadline_);
    return beginToFind(session_, key).within(deadline_);
}

bool SecretServiceStore::store(const SecretKey& key, const QByteArray& secret) {
    endFirstCall();
    Call<bool> call(session_, [key, secret](SecretService* service, GCancellable* cancellable) {
        if (!isUnlocked(service, cancellable))
            return false;
        g_autoptr(GHashTable) item = attributes(key);
        g_autoptr(SecretValue) value = secret_value_new(secret.constData(), secret.size(), "text/plain");
        return secret_service_store_sync(service, schema(), item, SECRET_COLLECTION_DEFAULT, "Tern Vault",
                                         value, cancellable, nullptr) != FALSE;
    });
    return call.within(deadline_);
}

bool SecretServiceStore::remove(const SecretKey& key) {
    endFirstCall();
    Call<bool> call(session_, [key](SecretService* service, GCancellable* cancellable) {
        if (!isUnlocked(service, cancellable))
            return false;
        g_autoptr(GHashTable) query = attributes(key);
        g_autoptr(GError) error = nullptr;
        secret_service_clear_sync(service, schema(), query, cancellable, &error);
        return error == nullptr;
    });
    return call.within(deadline_);
}

} // namespace ternvault
