#pragma once

#include "base/Task.h"
#include "platform/BackgroundTasks.h"
#include "platform/HttpClient.h"
#include "platform/MainLoop.h"

#include <QString>

#include <chrono>
#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace ternvault {

/// Wakes the one routine that waits for an event. The waker may outlive the routine: waking then does
/// nothing. Main thread only.
class WakeUp {
public:
    std::function<void()> waker() const {
        return [state = state_] {
            state->happened = true;
            if (const auto waiting = std::exchange(state->waiting, nullptr))
                waiting.resume();
        };
    }

    WakeUp() = default;
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;
    ~WakeUp() { state_->waiting = nullptr; }

    auto operator co_await() const {
        struct Awaiter {
            State& state;
            bool await_ready() const noexcept { return state.happened; }
            void await_suspend(std::coroutine_handle<> routine) const { state.waiting = routine; }
            void await_resume() const noexcept {}
        };
        return Awaiter{*state_};
    }

private:
    struct State {
        bool happened = false;
        std::coroutine_handle<> waiting;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Suspends for `duration` without blocking the main thread.
inline Task<void> sleepFor(MainLoop& mainLoop, std::chrono::milliseconds duration) {
    const WakeUp elapsed;
    const std::unique_ptr<Timer> timer = mainLoop.after(duration, elapsed.waker());
    co_await elapsed;
}

/// Lets all other pending work of the main loop run first.
inline Task<void> yieldToMainLoop(MainLoop& mainLoop) {
    const WakeUp turn;
    mainLoop.post(turn.waker());
    co_await turn;
}

/// Awaits `routine`; the description of the exception that ended it, or nothing.
inline Task<std::optional<QString>> failureOf(Task<> routine) {
    try {
        co_await routine;
        co_return std::nullopt;
    } catch (const std::exception& error) {
        co_return QString::fromUtf8(error.what());
    }
}

/// Exchanges one request for its outcome. The exchange goes on when the waiting routine is destroyed.
inline Task<HttpOutcome> exchange(HttpClient& http, HttpRequest request) {
    const auto outcome = std::make_shared<HttpOutcome>();
    const WakeUp finished;
    http.send(request, [outcome, wake = finished.waker()](HttpOutcome told) {
        *outcome = std::move(told);
        wake();
    });
    co_await finished;
    co_return std::move(*outcome);
}

/// Runs `work` in the background and resumes on the main thread with its result or exception. `work` runs to
/// its end even when the waiting routine is destroyed meanwhile, so it must own all that it uses.
template <typename Work>
Task<std::invoke_result_t<Work>> inBackground(BackgroundTasks& background, MainLoop& mainLoop, Lane lane,
                                              Work work) {
    using Result = std::invoke_result_t<Work>;
    struct Outcome {
        std::conditional_t<std::is_void_v<Result>, std::monostate, std::optional<Result>> result;
        std::exception_ptr error;
    };
    const auto outcome = std::make_shared<Outcome>();
    const WakeUp finished;
    auto job = [outcome, &mainLoop, wake = finished.waker(), work = std::move(work)]() mutable {
        try {
            if constexpr (std::is_void_v<Result>)
                work();
            else
                outcome->result = work();
        } catch (...) {
            outcome->error = std::current_exception();
        }
        mainLoop.post(std::move(wake));
    };
    background.run(lane, std::move(job));
    co_await finished;
    if (outcome->error)
        std::rethrow_exception(outcome->error);
    if constexpr (!std::is_void_v<Result>)
        co_return std::move(*outcome->result);
}

} // namespace ternvault
