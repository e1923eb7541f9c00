// Writes down when a program first painted and for how long its main loop was away. Qt loads it where
// QT_QPA_GENERIC_PLUGINS names it; TERNVAULT_PROBE is the file that it appends to, a line for each event:
//   paint SECONDS           the first paint is on its way to the screen
//   gap SECONDS DURATION    from then on the main loop served no timer for so long
// SECONDS are the monotonic clock's.
#include <QCoreApplication>
#include <QEvent>
#include <QGenericPlugin>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace {

using namespace Qt::StringLiterals;

/// Between two beats of the heart that shows that the main loop is there.
constexpr std::chrono::milliseconds beat(5);
/// Seconds. Shorter ones interest nobody.
constexpr double shortestGap = 0.012;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

class Probe final : public QObject {
public:
    Probe() : file_(std::fopen(qEnvironmentVariable("TERNVAULT_PROBE").toLocal8Bit().constData(), "a")) {
        QCoreApplication::instance()->installEventFilter(this);
        heart_.setTimerType(Qt::PreciseTimer);
        heart_.callOnTimeout([this] { reportGap(); });
        heart_.start(beat);
    }
    ~Probe() override {
        if (file_ != nullptr)
            std::fclose(file_);
    }

private:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (!hasPainted_ && object->isWidgetType() && event->type() == QEvent::Paint) {
            hasPainted_ = true;
            QMetaObject::invokeMethod(
                this, [this] { write("paint %.6f\n", now()); }, Qt::QueuedConnection);
        }
        return false;
    }

    void reportGap() {
        const double at = now();
        const double length = at - last_;
        if (length >= shortestGap)
            write("gap %.6f %.6f\n", last_, length);
        last_ = at;
    }

    template <typename... Numbers>
    void write(const char* format, Numbers... numbers) {
        if (file_ == nullptr)
            return;
        std::fprintf(file_, format, numbers...);
        std::fflush(file_);
    }

    std::FILE* file_;
    bool hasPainted_ = false;
    QTimer heart_;
    double last_ = now();
};

class ProbePlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "probe.json")

public:
    QObject* create(const QString&, const QString&) override { return new Probe; }
};

} // namespace

#include "Probe.moc"
