#pragma once

#include <coroutine>
#include <exception>
#include <utility>
#include <variant>

namespace ternvault {

template <typename T>
class Task;

namespace detail {

/// What both promise types share: the task starts when awaited and resumes its awaiter at its end.
class TaskPromiseBase {
public:
    std::suspend_always initial_suspend() const noexcept { return {}; }

    struct FinalAwaiter {
        bool await_ready() const noexcept { return false; }
        template <typename Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> finished) const noexcept {
            const std::coroutine_handle<> awaiter = finished.promise().awaiter_;
            return awaiter ? awaiter : std::noop_coroutine();
        }
        void await_resume() const noexcept {}
    };
    FinalAwaiter final_suspend() const noexcept { return {}; }

    void setAwaiter(std::coroutine_handle<> awaiter) { awaiter_ = awaiter; }

private:
    std::coroutine_handle<> awaiter_;
};

template <typename T>
class TaskPromise : public TaskPromiseBase {
public:
    Task<T> get_return_object();
    void return_value(T value) { result_.template emplace<1>(std::move(value)); }
    void unhandled_exception() { result_.template emplace<2>(std::current_exception()); }
    T takeResult() {
        if (result_.index() == 2)
            std::rethrow_exception(std::get<2>(result_));
        return std::move(std::get<1>(result_));
    }

private:
    std::variant<std::monostate, T, std::exception_ptr> result_;
};

template <>
class TaskPromise<void> : public TaskPromiseBase {
public:
    Task<void> get_return_object();
    void return_void() const {}
    void unhandled_exception() { error_ = std::current_exception(); }
    void takeResult() const {
        if (error_)
            std::rethrow_exception(error_);
    }

private:
    std::exception_ptr error_;
};

} // namespace detail

/// An asynchronous routine: a coroutine that starts when it is awaited, hands its result or exception to its
/// awaiter, and whose suspended frame is destroyed with the Task object.
///
/// House rules, because g++ 12 destroys some temporaries of a `co_await` expression twice: give class-type
/// arguments of an awaited call a name first, no lambda coroutines with captures, parameters by value (or a
/// reference to an object that outlives the task).
template <typename T = void>
class [[nodiscard]] Task {
public:
    using promise_type = detail::TaskPromise<T>;

    explicit Task(std::coroutine_handle<promise_type> frame) : frame_(frame) {}
    Task(Task&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
    Task& operator=(Task&& other) noexcept {
        std::swap(frame_, other.frame_);
        return *this;
    }
    ~Task() {
        if (frame_)
            frame_.destroy();
    }

    auto operator co_await() const {
        struct Awaiter {
            std::coroutine_handle<promise_type> frame;
            bool await_ready() const noexcept { return false; }
            std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiter) const {
                frame.promise().setAwaiter(awaiter);
                return frame;
            }
            T await_resume() const { return frame.promise().takeResult(); }
        };
        return Awaiter{frame_};
    }

private:
    std::coroutine_handle<promise_type> frame_;
};

template <typename T>
Task<T> detail::TaskPromise<T>::get_return_object() {
    return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

inline Task<void> detail::TaskPromise<void>::get_return_object() {
    return Task<void>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

} // namespace ternvault
