#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace ternvault {

/// Handle of one subscription; destroying it ends the subscription, also from inside an emission.
/// It may outlive the signal.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        std::swap(end_, other.end_);
        return *this;
    }
    ~Subscription() {
        if (end_)
            end_();
    }

private:
    std::function<void()> end_;
};

/// A list of observers called one after the other, in the order of subscription. Single-threaded.
class Signal {
public:
    using Observer = std::function<void()>;

    Subscription subscribe(Observer observer) {
        const std::uint64_t id = observers_->next++;
        observers_->byId.emplace(id, std::make_shared<Observer>(std::move(observer)));
        std::weak_ptr<Observers> observers = observers_;
        return Subscription([observers, id] {
            if (const auto alive = observers.lock())
                alive->byId.erase(id);
        });
    }

    /// An observer whose subscription ends during the emission, before its turn, is not called any more;
    /// one that subscribes meanwhile is called from the next emission on.
    void emit() const {
        const std::shared_ptr<Observers> observers = observers_;
        std::vector<std::uint64_t> turn;
        turn.reserve(observers->byId.size());
        for (const auto& [id, observer] : observers->byId)
            turn.push_back(id);
        for (const std::uint64_t id : turn) {
            const auto found = observers->byId.find(id);
            if (found == observers->byId.end())
                continue;
            const std::shared_ptr<Observer> observer = found->second;
            (*observer)();
        }
    }

private:
    struct Observers {
        std::map<std::uint64_t, std::shared_ptr<Observer>> byId;
        std::uint64_t next = 0;
    };
    std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
};

} // namespace ternvault
