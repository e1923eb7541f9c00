#include "platform/linux/finder/FrontFolderWatch.h"

#include "platform/linux/finder/AccessibilityBus.h"
#include "platform/linux/finder/FileManagers.h"
#include "platform/linux/finder/OpenLocations.h"
#include "platform/linux/finder/ShownFolder.h"

#include <QDeadlineTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

namespace ternvault::finder {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// For all questions of one look.
constexpr auto patience = 500ms;
/// What is in a window follows its title.
constexpr auto settling = 50ms;
/// For a window that is not finished yet.
constexpr auto nextTry = 250ms;
constexpr int mostTries = 12;

AccessibilityBus::Deadline deadline() {
    return std::chrono::steady_clock::now() + patience;
}

} // namespace

class FrontFolderWatch::Eyes final : public QObject {
public:
    Eyes() {
        soon_.setSingleShot(true);
        soon_.callOnTimeout(this, [this] { look(); });
    }

    void open() {
        if (notifier_ != nullptr)
            return;
        if (const std::optional<int> display = front_.follow()) {
            notifier_ = std::make_unique<QSocketNotifier>(*display, QSocketNotifier::Read);
            connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { onDisplayEvent(); });
            lookAnew();
        }
    }
    void close() {
        notifier_.reset();
        soon_.stop();
        program_.clear();
        see(false);
        accessibility_.leave();
        front_ = FrontWindow();
    }

    // Any thread.
    std::optional<Sight> sight() const {
        const std::lock_guard lock(mutex_);
        return held_.value_or(sight_);
    }
    void hold() {
        const std::lock_guard lock(mutex_);
        held_ = sight_;
    }
    void release() {
        const std::lock_guard lock(mutex_);
        held_.reset();
    }
    /// What waits to be done is not done any more.
    void end() { isEnding_ = true; }

private:
    void onDisplayEvent() {
        if (front_.hasChanged())
            lookAnew();
        else if (!front_.isConnected()) {
            // Not from within its own signal.
            QMetaObject::invokeMethod(
                this,
                [this] {
                    close();
                    open();
                },
                Qt::QueuedConnection);
        }
    }

    void lookAnew() {
        textHasFocus_ = false;
        list_.clear();
        see(false);
        lookOnceSettled();
    }

    void look() {
        if (isEnding_)
            return;
        see(false);
        program_.clear();
        const std::optional<WindowInfo> front = front_.read();
        const FileManager* const fileManager = front ? fileManagerOf(*front) : nullptr;
        if (fileManager != nullptr) {
            window_ = *front;
            lookInto(*fileManager);
        }
        // Changes may have come together with the answers.
        if (front_.hasChanged())
            lookAnew();
    }

    void lookInto(const FileManager& fileManager) {
        const auto end = deadline();
        program_ = accessibility_.program(window_.process, end);
        const auto locations = openLocations(window_.busName, window_.objectPath, end);
        if (!locations) {
            tryAgain();
            return;
        }
        const AccessibleWindow controls =
            program_.isEmpty() ? AccessibleWindow() : accessibility_.activeWindow(program_, end);
        folders_ = shownFolders(controls, window_.title);
        folders_.insert(folders_.end(), locations->begin(), locations->end());
        const Focus focus = textHasFocus_ ? Focus::text : focusIn(controls);
        see(!controls.empty() && focus >= fileManager.focusOnFiles && focus != Focus::text);
        if (!isSeen() && focus != Focus::text)
            tryAgain();
    }

    void tryAgain() {
        if (--triesLeft_ > 0)
            soon_.start(nextTry);
    }

    void onFocusMoved(const QString& program, const QString& path, bool got) {
        if (isEnding_ || program_.isEmpty() || program != program_)
            return;
        if (got)
            onFocus(program, path);
        else
            onFocusLost();
    }

    /// Another control may be of another tab, whose title is the same where its folder has the same name, and
    /// not all fields are among the controls of their window.
    void onFocus(const QString& program, const QString& path) {
        const bool wasSeen = isSeen();
        see(false);
        const auto control = accessibility_.control(program, path, deadline());
        const Focus focus = control ? focusOf(control->node) : Focus::text;
        textHasFocus_ = focus == Focus::text;
        const QString list = focus == Focus::item ? control->container : QString();
        const bool isNextItem = std::exchange(list_, list) == list && !list.isEmpty();
        if (wasSeen && isNextItem && (onlyLost_ || !soon_.isActive())) {
            soon_.stop();
            see(true);
        } else {
            lookOnceSettled();
        }
    }

    /// A press takes the focus, too, and that may be heard of before the press is. So a loss counts once the
    /// window has settled.
    void onFocusLost() {
        if (!soon_.isActive()) {
            lookOnceSettled();
            onlyLost_ = true;
        }
    }

    void lookOnceSettled() {
        onlyLost_ = false;
        triesLeft_ = mostTries;
        soon_.start(settling);
    }

    void see(bool isFocusOnFiles) {
        const std::lock_guard lock(mutex_);
        sight_ = isFocusOnFiles && !folders_.empty() ? std::optional(Sight{window_, folders_}) : std::nullopt;
    }
    bool isSeen() const {
        const std::lock_guard lock(mutex_);
        return sight_.has_value();
    }

    FrontWindow front_;
    AccessibilityBus accessibility_{[this](const QString& program, const QString& control, bool got) {
                                        onFocusMoved(program, control, got);
                                    },
                                    this};
    std::unique_ptr<QSocketNotifier> notifier_;
    QTimer soon_{this};
    int triesLeft_ = 0;
    /// The look that is due is because of a loss of focus alone.
    bool onlyLost_ = false;
    bool textHasFocus_ = false;
    /// Of the item that had the focus last.
    QString list_;

    // Of the window in front, whatever in it has the focus.
    WindowInfo window_;
    QString program_;
    std::vector<fs::path> folders_;

    std::atomic<bool> isEnding_ = false;
    mutable std::mutex mutex_;
    std::optional<Sight> sight_;
    std::optional<std::optional<Sight>> held_;
};

FrontFolderWatch::FrontFolderWatch() : eyes_(new Eyes) {
    eyes_->moveToThread(&thread_);
    QObject::connect(&thread_, &QThread::finished, eyes_, &QObject::deleteLater);
}

FrontFolderWatch::~FrontFolderWatch() {
    if (!hasFinished_)
        finish(std::chrono::milliseconds::max());
}

bool FrontFolderWatch::finish(std::chrono::milliseconds grace) {
    eyes_->end();
    thread_.start(); // one that never ran would not end the eyes
    thread_.quit();
    hasFinished_ = thread_.wait(QDeadlineTimer(grace));
    return hasFinished_;
}

void FrontFolderWatch::start() {
    thread_.start();
    QMetaObject::invokeMethod(eyes_, [eyes = eyes_] { eyes->open(); });
}

void FrontFolderWatch::rest() {
    QMetaObject::invokeMethod(eyes_, [eyes = eyes_] { eyes->close(); });
}

void FrontFolderWatch::hold() {
    eyes_->hold();
}

void FrontFolderWatch::release() {
    eyes_->release();
}

std::optional<FrontFolderWatch::Sight> FrontFolderWatch::sight() const {
    return eyes_->sight();
}

} // namespace ternvault::finder
