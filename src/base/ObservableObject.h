#pragma once

#include "base/Signal.h"

#include <functional>
#include <utility>

namespace ternvault {

/// An object that announces every change of its published fields before the change is stored. Observers
/// therefore read the new value on a later turn of the main loop.
class ObservableObject {
public:
    ObservableObject() = default;
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    Signal objectWillChange;

protected:
    ~ObservableObject() = default;
};

/// A field of an ObservableObject. An assignment emits `objectWillChange`, then stores, then runs the change
/// handler, also when the new value equals the old one.
template <typename T>
class Published {
public:
    using ChangeHandler = std::function<void()>;

    explicit Published(ObservableObject& owner, T initial = T(), ChangeHandler onChange = {})
        : owner_(owner), value_(std::move(initial)), onChange_(std::move(onChange)) {}
    Published(const Published&) = delete;

    Published& operator=(T value) {
        storeWithoutHandler(std::move(value));
        if (onChange_)
            onChange_();
        return *this;
    }
    /// Copies the value only: owner and change handler stay.
    Published& operator=(const Published& other) { return *this = T(other.value_); }

    /// Announces and stores like an assignment and skips only the change handler.
    void storeWithoutHandler(T value) {
        owner_.objectWillChange.emit();
        value_ = std::move(value);
    }

    const T& get() const { return value_; }
    operator const T&() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

private:
    ObservableObject& owner_;
    T value_;
    ChangeHandler onChange_;
};

} // namespace ternvault
