#include "platform/linux/SecretServiceStore.h"

// GLib's names clash with Qt's `signals`, so it comes first and alone.
#include <libsecret/secret.h>

#include "platform/linux/SessionBus.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

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

GHashTable* attributesOf(const SecretKey& key) {
    return secret_attributes_build(schema(), "service", key.service.toUtf8().constData(), "account",
                                   key.account.toUtf8().constData(), nullptr);
}

/// A service that shows no prompt: what needs one fails.
struct QuietService {
    SecretService parent;
};
struct QuietServiceClass {
    SecretServiceClass parent;
};

void refuse(GError** error) {
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_PERMISSION_DENIED, "needs a prompt");
}

GVariant* refusePrompt(SecretService*, SecretPrompt*, GCancellable*, const GVariantType*, GError** error) {
    refuse(error);
    return nullptr;
}

void beginToRefusePrompt(SecretService* service, SecretPrompt*, const GVariantType*,
                         GCancellable* cancellable, GAsyncReadyCallback callback, gpointer userData) {
    g_autoptr(GTask) task = g_task_new(service, cancellable, callback, userData);
    GError* error = nullptr;
    refuse(&error);
    g_task_return_error(task, error);
}

GVariant* endRefusal(SecretService*, GAsyncResult* result, GError** error) {
    return static_cast<GVariant*>(g_task_propagate_pointer(G_TASK(result), error));
}

void initialiseQuietService(gpointer type, gpointer) {
    auto& methods = *static_cast<SecretServiceClass*>(type);
    methods.prompt_sync = refusePrompt;
    methods.prompt_async = beginToRefusePrompt;
    methods.prompt_finish = endRefusal;
}

GType quietServiceType() {
    static const GType type =
        g_type_register_static_simple(SECRET_TYPE_SERVICE, "TernVaultQuietService", sizeof(QuietServiceClass),
                                      initialiseQuietService, sizeof(QuietService), nullptr, {});
    return type;
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
    return secret_service_open_sync(quietServiceType(), nullptr, SECRET_SERVICE_NONE, cancellable, nullptr);
}

struct Unreference {
    void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Reference = std::unique_ptr<T, Unreference>;

/// Nothing when there is none, or when it is locked.
Reference<SecretCollection> unlockedDefaultCollection(SecretService* service, GCancellable* cancellable) {
    Reference<SecretCollection> collection(secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, nullptr));
    if (collection != nullptr && secret_collection_get_locked(collection.get()) != FALSE)
        collection.reset();
    return collection;
}

using Items = std::vector<Reference<SecretItem>>;

/// In all collections, those that are locked too; nothing when the service does not answer.
std::optional<Items> itemsOf(const SecretKey& key, int flags, SecretService* service,
                             GCancellable* cancellable) {
    g_autoptr(GHashTable) query = attributesOf(key);
    g_autoptr(GError) error = nullptr;
    GList* const found = secret_service_search_sync(service, schema(), query,
                                                    static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | flags),
                                                    cancellable, &error);
    Items items;
    for (GList* item = found; item != nullptr; item = item->next)
        items.emplace_back(SECRET_ITEM(item->data));
    g_list_free(found);
    return error == nullptr ? std::optional(std::move(items)) : std::nullopt;
}

std::string pathOf(const Reference<SecretItem>& item) {
    return g_dbus_proxy_get_object_path(G_DBUS_PROXY(item.get()));
}

/// Nothing when the item is locked.
SecretAnswer answerFrom(const Reference<SecretItem>& item) {
    g_autoptr(SecretValue) value = secret_item_get_secret(item.get());
    if (value == nullptr)
        return {};
    gsize size = 0;
    const gchar* const bytes = secret_value_get(value, &size);
    return {SecretAnswer::State::found, QByteArray(bytes, static_cast<qsizetype>(size))};
}

/// Several items are left by programs that knew one collection only; the latest has the secret.
SecretAnswer find(const SecretKey& key, SecretService* service, GCancellable* cancellable) {
    const std::optional<Items> items = itemsOf(key, SECRET_SEARCH_LOAD_SECRETS, service, cancellable);
    if (!items)
        return {};
    if (items->empty())
        return {unlockedDefaultCollection(service, cancellable) != nullptr ? SecretAnswer::State::absent
                                                                           : SecretAnswer::State::unavailable,
                {}};
    return answerFrom(*std::ranges::max_element(
        *items, {}, [](const Reference<SecretItem>& item) { return secret_item_get_modified(item.get()); }));
}

/// Removes every item of the key but the one with this path. False when one is left, because it is locked or
/// for another reason.
bool removeAllBut(const std::string& path, const SecretKey& key, SecretService* service,
                  GCancellable* cancellable) {
    const std::optional<Items> items = itemsOf(key, SECRET_SEARCH_NONE, service, cancellable);
    if (!items)
        return false;
    return std::ranges::count_if(*items, [&](const Reference<SecretItem>& item) {
               return pathOf(item) != path &&
                      (secret_item_get_locked(item.get()) != FALSE ||
                       secret_item_delete_sync(item.get(), cancellable, nullptr) == FALSE);
           }) == 0;
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
                return find(key, service, cancellable);
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
        const auto collection = unlockedDefaultCollection(service, cancellable);
        if (collection == nullptr)
            return false;
        g_autoptr(GHashTable) attributes = attributesOf(key);
        g_autoptr(SecretValue) value = secret_value_new(secret.constData(), secret.size(), "text/plain");
        // First, so that there is a secret at any moment.
        const Reference<SecretItem> item(
            secret_item_create_sync(collection.get(), schema(), attributes, "Tern Vault", value,
                                    SECRET_ITEM_CREATE_REPLACE, cancellable, nullptr));
        return item != nullptr && removeAllBut(pathOf(item), key, service, cancellable);
    });
    return call.within(deadline_);
}

bool SecretServiceStore::remove(const SecretKey& key) {
    endFirstCall();
    Call<bool> call(session_, [key](SecretService* service, GCancellable* cancellable) {
        return removeAllBut({}, key, service, cancellable) &&
               unlockedDefaultCollection(service, cancellable) != nullptr;
    });
    return call.within(deadline_);
}

} // namespace ternvault
