#pragma once

#include <memory>

namespace ternvault {

/// Tells whether an object is still alive, without keeping it so. Single-threaded: test it after every
/// suspension and in every callback, and use the pointer only until the next one.
template <typename T>
class WeakRef {
public:
    WeakRef() = default;
    explicit WeakRef(std::weak_ptr<T*> target) : target_(std::move(target)) {}
    T* get() const {
        const auto alive = target_.lock();
        return alive ? *alive : nullptr;
    }
    explicit operator bool() const { return get() != nullptr; }

private:
    std::weak_ptr<T*> target_;
};

/// First member of a class whose objects are referred to weakly; serves already inside the constructor.
template <typename T>
class LifetimeAnchor {
public:
    explicit LifetimeAnchor(T* owner) : owner_(std::make_shared<T*>(owner)) {}
    LifetimeAnchor(const LifetimeAnchor&) = delete;
    LifetimeAnchor& operator=(const LifetimeAnchor&) = delete;

    WeakRef<T> weak() const { return WeakRef<T>(owner_); }

private:
    std::shared_ptr<T*> owner_;
};

} // namespace ternvault
