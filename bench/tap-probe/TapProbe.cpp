#include "TapProbe.h"

#include "platform/KeyNumbers.h"
#include "platform/linux/X11EventTap.h"
#include "support/ForeignWindow.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <semaphore>
#include <thread>
#include <utility>
#include <vector>

namespace ternvault {

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr xcb_keycode_t control = 37, v = 55, last = 53;
constexpr int rounds = 5;
constexpr int pressesPerRound = 100;
constexpr int stalls = 20;

/// The tap at work, on a thread of its own.
class RunningTap {
public:
    explicit RunningTap(EventTap::Callback callback)
        : thread_([this, callback = std::move(callback)] {
              const bool ended = tap_.run(1U << event_types::keyDown, [&](const TappedEvent& event) {
                  ++asked_;
                  callback(event);
              });
              if (!ended)
                  std::quick_exit(EXIT_FAILURE);
          }) {}
    ~RunningTap() {
        tap_.stop();
        thread_.join();
    }
    int asked() const { return asked_; }

private:
    X11EventTap tap_;
    std::atomic<int> asked_ = 0;
    std::thread thread_;
};

/// What became of presses in the window.
struct Record {
    std::vector<double> delays;
    int lost = 0;
    int doubled = 0;

    double quantile(double part) {
        std::sort(delays.begin(), delays.end());
        return delays.empty() ? 0 : delays[static_cast<std::size_t>(part * double(delays.size() - 1))];
    }
};

class Measurement {
public:
    void press(Record& record) {
        window_.press(control);
        const auto pressed = ForeignWindow::Clock::now();
        window_.press(v);
        if (const auto arrival = nextOf(v))
            record.delays.push_back(Milliseconds(arrival->at - pressed).count());
        else
            ++record.lost;
        window_.release(v);
        window_.release(control);
    }

    /// How many presses of the key still reach the window.
    int leftOver() {
        window_.type(last);
        int count = 0;
        while (const auto arrival = window_.next(1s)) {
            if (arrival->key == last)
                return count;
            count += arrival->key == v;
        }
        return count;
    }

    void awaitWork(const RunningTap& tap) {
        Record ignored;
        while (tap.asked() == 0)
            press(ignored);
        leftOver();
    }

private:
    std::optional<ForeignWindow::Arrival> nextOf(xcb_keycode_t key) {
        while (const auto arrival = window_.next(1s)) {
            if (arrival->key == key)
                return arrival;
        }
        return std::nullopt;
    }

    ForeignWindow window_;
};

void pressMany(Measurement& measurement, Record& record) {
    for (int i = 0; i < pressesPerRound; ++i)
        measurement.press(record);
    record.doubled += measurement.leftOver();
}

/// The callback hangs from one press on until another one has arrived, too.
void measureStalls(Measurement& measurement, Record& record) {
    std::atomic<bool> isStalling = false;
    std::counting_semaphore<> resume(0);
    const RunningTap tap([&](const TappedEvent&) {
        if (isStalling)
            resume.acquire();
    });
    measurement.awaitWork(tap);
    isStalling = true;
    for (int i = 0; i < stalls; ++i) {
        // It may still be on its way back from the one before.
        for (const int before = tap.asked(); tap.asked() == before;)
            measurement.press(record);
        measurement.press(record);
        resume.release();
    }
    record.doubled += measurement.leftOver();
}

class Table {
public:
    void row(const char* what, double value, const char* unit, double limit) {
        const bool isKept = value <= limit;
        allKept_ &= isKept;
        std::printf("%-52s%8.2f %-2s%8.2f %-2s%s\n", what, value, unit, limit, unit,
                    isKept ? "" : "   NOT KEPT");
    }
    void peer(const char* what, double value) { std::printf("%-52s%8.2f ms\n", what, value); }
    bool allKept() const { return allKept_; }

private:
    bool allKept_ = true;
};

} // namespace

bool measureTap(const EventTap::Callback& callback) {
    Measurement measurement;
    Record without, with, stalled;
    int asked = 0;
    // By turns, so that what else the machine does meets both.
    for (int round = 0; round < rounds; ++round) {
        pressMany(measurement, without);
        const RunningTap tap(callback);
        measurement.awaitWork(tap);
        const int before = tap.asked();
        pressMany(measurement, with);
        asked += tap.asked() - before;
    }
    measureStalls(measurement, stalled);

    Table table;
    std::printf("%-52s%11s%11s\n", "", "tap", "limit");
    table.peer("Ctrl+V to its window without the tap, median", without.quantile(0.5));
    table.peer("the same, 99 of 100", without.quantile(0.99));
    table.row("added by the tap, median", with.quantile(0.5) - without.quantile(0.5), "ms", 1);
    table.row("added by the tap, 99 of 100", with.quantile(0.99) - without.quantile(0.99), "ms", 5);
    table.row("presses that went by the tap", rounds * pressesPerRound - asked, "", 0);
    table.row("longest delay, the callback hanging", stalled.quantile(1), "ms", 160);
    table.row("presses lost", without.lost + with.lost + stalled.lost, "", 0);
    table.row("presses doubled", without.doubled + with.doubled + stalled.doubled, "", 0);
    return table.allKept();
}

} // namespace ternvault
