#pragma once

#include <concepts>
#include <memory>
#include <utility>

namespace ternvault {

/// Tells whether an object is still alive, without keeping it so. Single-threaded: test it after every
/// suspension and in every callback, and use the pointer only until the next one.
template <typename T>
class WeakRef {
public:
    WeakRef() = default;
    explicit WeakRef(std::weak_ptr<T> target) : target_(std::move(target)) {}
    template <std::derived_from<T> Derived>
    WeakRef(const WeakRef<Derived>& other) : target_(other.target_) {}

    T* get() const { return target_.lock().get(); }

private:
    template <typename>
    friend class WeakRef;
    std::weak_ptr<T> target_;
};

/// First member of a class whose objects are referred to weakly; serves already inside the constructor.
template <typename T>
class LifetimeAnchor {
public:
    explicit LifetimeAnchor(T* owner) : owner_(owner) {}
    LifetimeAnchor(const LifetimeAnchor&) = delete;
    LifetimeAnchor& operator=(const LifetimeAnchor&) = delete;

    WeakRef<T> weak() const { return WeakRef<T>(std::shared_ptr<T>(life_, owner_)); }

private:
    T* owner_;
    std::shared_ptr<char> life_ = std::make_shared<char>();
};

} // namespace ternvault
