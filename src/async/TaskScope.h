#pragma once

#include "base/Lifetime.h"
#include "base/Task.h"
#include "platform/MainLoop.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <utility>

namespace ternvault {

/// Owns detached routines: their suspended frames are destroyed together with the scope, so a routine never
/// outlives the object whose member the scope is. Main thread only; must not be destroyed by one of its own
/// routines.
class TaskScope {
public:
    using EscapeReport = std::function<void(const std::exception_ptr&)>;

    /// `onEscape` is told of every exception that leaves a routine.
    TaskScope(MainLoop& mainLoop, EscapeReport onEscape)
        : mainLoop_(mainLoop), onEscape_(std::move(onEscape)) {}

    /// Starts the routine on a later turn of the main loop.
    void spawn(Task<void> routine) {
        const std::uint64_t id = next_++;
        routines_.emplace(id, supervise(*this, id, std::move(routine)));
        const WeakRef<TaskScope> weak = anchor_.weak();
        mainLoop_.post([weak, id] {
            if (TaskScope* const scope = weak.get())
                scope->routines_.at(id).start();
        });
    }

    bool isEmpty() const { return routines_.empty(); }

private:
    /// A started coroutine that nobody awaits.
    class Supervised {
    public:
        struct promise_type {
            Supervised get_return_object() {
                return Supervised(std::coroutine_handle<promise_type>::from_promise(*this));
            }
            std::suspend_always initial_suspend() const noexcept { return {}; }
            std::suspend_always final_suspend() const noexcept { return {}; }
            void return_void() const {}
            void unhandled_exception() const { std::terminate(); }
        };
        explicit Supervised(std::coroutine_handle<promise_type> frame) : frame_(frame) {}
        Supervised(Supervised&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
        Supervised& operator=(Supervised&&) = delete;
        ~Supervised() {
            if (frame_)
                frame_.destroy();
        }
        void start() const { frame_.resume(); }

    private:
        std::coroutine_handle<promise_type> frame_;
    };

    static Supervised supervise(TaskScope& scope, std::uint64_t id, Task<void> routine) {
        try {
            co_await routine;
        } catch (...) {
            scope.onEscape_(std::current_exception());
        }
        scope.forgetLater(id);
    }

    /// A frame cannot destroy itself while it runs, so it goes on the next turn.
    void forgetLater(std::uint64_t id) {
        const WeakRef<TaskScope> weak = anchor_.weak();
        mainLoop_.post([weak, id] {
            if (TaskScope* const scope = weak.get())
                scope->routines_.erase(id);
        });
    }

    LifetimeAnchor<TaskScope> anchor_{this};
    MainLoop& mainLoop_;
    EscapeReport onEscape_;
    std::map<std::uint64_t, Supervised> routines_;
    std::uint64_t next_ = 0;
};

} // namespace ternvault
