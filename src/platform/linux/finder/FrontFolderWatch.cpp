#include "platform/linux/finder/FrontFolderWatch.h"

#include "platform/linux/finder/AccessibilityBus.h"
#include "platform/linux/finder/FileManagers.h"
#include "platform/linux/finder/OpenLocations.h"
#include "platform/linux/finder/ShownFolder.h"

#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
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
/// A press that is held back takes the focus for as long at most, and gives it back.
constexpr auto longestPress = 160ms;
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
        for (QTimer* const timer : {&soon_, &focusLost_}) {
            timer->setSingleShot(true);
            timer->callOnTimeout(this, [this] { look(); });
        }
    }

    void open() {
        if (notifier_ != nullptr)
            return;
        if (const std::optional<int> display = front_.follow()) {
            notifier_ = new QSocketNotifier(*display, QSocketNotifier::Read, this);
            connect(notifier_, &QSocketNotifier::activated, this, [this] { onDisplayEvent(); });
            lookSoon();
        }
    }
    std::optional<Sight> sight() const {
        const std::lock_guard lock(mutex_);
        return sight_;
    }

private:
    void onDisplayEvent() {
        if (front_.hasChanged())
            lookSoon();
        else if (!front_.isConnected())
            notifier_->setEnabled(false);
    }

    void lookSoon() {
        see(false);
        triesLeft_ = mostTries;
        soon_.start(settling);
    }

    void look() {
        focusLost_.stop();
        see(false);
        program_.clear();
        folders_.clear();
        const std::optional<WindowInfo> front = front_.read();
        const FileManager* const fileManager = front ? fileManagerOf(*front) : nullptr;
        if (fileManager != nullptr) {
            window_ = *front;
            lookInto(*fileManager);
        }
        // Changes may have come together with the answers.
        if (front_.hasChanged())
            lookSoon();
    }

    void lookInto(const FileManager& fileManager) {
        const auto end = deadline();
        program_ = accessibility_.program(window_.process, end);
        const AccessibleWindow controls =
            program_.isEmpty() ? AccessibleWindow() : accessibility_.activeWindow(program_, end);
        folders_ = shownFolders(controls, window_.title);
        for (const fs::path& folder : openLocations(window_.busName, window_.objectPath, end))
            folders_.push_back(folder);
        const Focus focus = focusIn(controls);
        see(!controls.empty() && focus >= fileManager.focusOnFiles && focus != Focus::text);
        if (!sight() && focus != Focus::text && --triesLeft_ > 0)
            soon_.start(nextTry);
    }

    void onFocusMoved(const QString& program, const QString& path, bool got) {
        if (program_.isEmpty() || program != program_)
            return;
        if (!got) {
            focusLost_.start(longestPress);
            return;
        }
        focusLost_.stop();
        see(false);
        const std::optional<AccessibleNode> control = accessibility_.control(program, path, deadline());
        see(control && focusOf(*control) != Focus::text);
    }

    void see(bool isFocusOnFiles) {
        const std::lock_guard lock(mutex_);
        sight_ = isFocusOnFiles && !folders_.empty() ? std::optional(Sight{window_, folders_}) : std::nullopt;
    }

    FrontWindow front_;
    AccessibilityBus accessibility_{[this](const QString& program, const QString& control, bool got) {
                                        onFocusMoved(program, control, got);
                                    },
                                    this};
    QSocketNotifier* notifier_ = nullptr;
    QTimer soon_{this};
    QTimer focusLost_{this};
    int triesLeft_ = 0;

    // Of the window in front, whatever in it has the focus.
    WindowInfo window_;
    QString program_;
    std::vector<fs::path> folders_;

    mutable std::mutex mutex_;
    std::optional<Sight> sight_;
};

FrontFolderWatch::FrontFolderWatch() : eyes_(new Eyes) {
    eyes_->moveToThread(&thread_);
    QObject::connect(&thread_, &QThread::finished, eyes_, &QObject::deleteLater);
}

FrontFolderWatch::~FrontFolderWatch() {
    thread_.start(); // one that never ran would not end the eyes
    thread_.quit();
    thread_.wait();
}

void FrontFolderWatch::start() {
    thread_.start();
    QMetaObject::invokeMethod(eyes_, [this] { eyes_->open(); });
}

std::optional<FrontFolderWatch::Sight> FrontFolderWatch::sight() const {
    return eyes_->sight();
}

} // namespace ternvault::finder
