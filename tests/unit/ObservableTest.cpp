#include "base/Lifetime.h"
#include "base/ObservableObject.h"

#include <gtest/gtest.h>

#include <string>

namespace ternvault {

struct Subject : ObservableObject {
    std::vector<std::string> events;
    Published<int> number{*this, 1, [this] { events.push_back("handled " + std::to_string(number)); }};
    Published<int> other{*this, 7};
    Subscription watch = objectWillChange.subscribe(
        [this] { events.push_back("will change from " + std::to_string(number)); });
};

TEST(Published, AnnouncesThenStoresThenHandlesAlsoForEqualValues) {
    Subject subject;
    subject.number = 1;
    subject.number = subject.other;
    subject.number.storeWithoutHandler(9);
    EXPECT_EQ(subject.events,
              (std::vector<std::string>{"will change from 1", "handled 1", "will change from 1", "handled 7",
                                        "will change from 7"}));
    EXPECT_EQ(subject.number, 9);
    EXPECT_EQ(subject.other, 7);
}

TEST(Signal, SurvivesSubscriptionsThatEndOrBeginDuringAnEmission) {
    std::vector<std::string> called;
    auto signal = std::make_unique<Signal>();
    Subscription second, late;
    Subscription first = signal->subscribe([&] {
        called.push_back("first");
        second = Subscription();
        first = Subscription();
        late = signal->subscribe([&] { called.push_back("late"); });
    });
    second = signal->subscribe([&] { called.push_back("second"); });
    const Subscription third = signal->subscribe([&] { called.push_back("third"); });
    signal->emit();
    signal->emit();
    EXPECT_EQ(called, (std::vector<std::string>{"first", "third", "third", "late"}));
    signal.reset(); // handles may outlive the signal
}

TEST(WeakRef, ServesInsideTheConstructorAndKnowsTheEnd) {
    struct Base {};
    struct Anchored : Base {
        LifetimeAnchor<Anchored> anchor{this};
        WeakRef<Base> seenInConstructor{anchor.weak()};
    };
    auto object = std::make_unique<Anchored>();
    const WeakRef<Base> weak = object->seenInConstructor;
    EXPECT_EQ(weak.get(), object.get());
    object.reset();
    EXPECT_EQ(weak.get(), nullptr);
}

} // namespace ternvault
