#pragma once

#include "platform/Platform.h"

#include <algorithm>
#include <deque>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <system_error>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace ternvault::test {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Main loop, clocks and background lanes on virtual time: nothing happens but inside `run` and `advance`.
class VirtualTime : public MainLoop, public Clock, public BackgroundTasks {
public:
    void post(std::function<void()> work) override { posted_.push_back(std::move(work)); }
    std::unique_ptr<Timer> after(std::chrono::milliseconds delay, std::function<void()> action) override {
        return schedule(delay, {}, std::move(action));
    }
    std::unique_ptr<Timer> every(std::chrono::milliseconds interval, std::function<void()> action) override {
        return schedule(interval, interval, std::move(action));
    }
    SteadyTime steadyNow() const override { return SteadyTime(now_); }
    WallTime wallNow() const override { return wallStart + now_; }
    void run(Lane, std::function<void()> work) override { background_.push_back(std::move(work)); }

    /// Runs what is posted until nothing is left, background work too unless it is held back.
    void run() {
        for (;;) {
            if (!posted_.empty())
                take(posted_)();
            else if (!holdBackground && !background_.empty())
                take(background_)();
            else
                return;
        }
    }
    void advance(std::chrono::milliseconds duration) {
        const std::chrono::milliseconds end = now_ + duration;
        run();
        for (;;) {
            const auto next = std::min_element(timers_.begin(), timers_.end(), [](auto& one, auto& other) {
                return one.second.due < other.second.due;
            });
            if (next == timers_.end() || next->second.due > end)
                break;
            now_ = next->second.due;
            const std::function<void()> action = next->second.action;
            if (next->second.interval.count() > 0)
                next->second.due += next->second.interval;
            else
                timers_.erase(next);
            action();
            run();
        }
        now_ = end;
    }
    std::size_t backgroundCount() const { return background_.size(); }

    bool holdBackground = false;
    WallTime wallStart = WallTime(std::chrono::seconds(1785938607)); // 2026-08-05T14:03:27Z

private:
    struct Entry {
        std::chrono::milliseconds due;
        std::chrono::milliseconds interval;
        std::function<void()> action;
    };
    struct Handle : Timer {
        Handle(VirtualTime& owner, int number) : time(owner), id(number) {}
        ~Handle() override { time.timers_.erase(id); }
        VirtualTime& time;
        int id;
    };
    std::unique_ptr<Timer> schedule(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                                    std::function<void()> action) {
        timers_[++lastTimer_] = {now_ + delay, interval, std::move(action)};
        return std::make_unique<Handle>(*this, lastTimer_);
    }
    static std::function<void()> take(std::deque<std::function<void()>>& queue) {
        std::function<void()> work = std::move(queue.front());
        queue.pop_front();
        return work;
    }

    std::deque<std::function<void()>> posted_;
    std::deque<std::function<void()>> background_;
    std::map<int, Entry> timers_;
    int lastTimer_ = 0;
    std::chrono::milliseconds now_{0};
};

class FakeDefaults : public UserDefaults {
public:
    std::optional<QVariant> object(const QString& key) const override { return known_[key] = stored(key); }
    void set(const QString& key, const QVariant& value) override { known_[key] = values[key] = value; }
    void remove(const QString& key) override { values.erase(key); }
    void writeBack(const QString& key, const QVariant& value) override {
        if (onWriteBack)
            onWriteBack(key);
        if (known_[key] == stored(key))
            set(key, value);
    }

    std::map<QString, QVariant> values;
    /// What another process does between a read and the writing back of what was read.
    std::function<void(const QString& key)> onWriteBack;

private:
    std::optional<QVariant> stored(const QString& key) const {
        return values.contains(key) ? std::optional(values.at(key)) : std::nullopt;
    }

    mutable std::map<QString, std::optional<QVariant>> known_;
};

class FakeSecrets : public SecretStore {
public:
    std::optional<QByteArray> find(const QString& service, const QString& account) override {
        const std::pair key(service, account);
        return items.contains(key) ? std::optional(items.at(key)) : std::nullopt;
    }
    bool isAbsent(const QString& service, const QString& account) override {
        return isReached && !find(service, account);
    }
    bool add(const QString& service, const QString& account, const QByteArray& secret) override {
        items[{service, account}] = secret;
        return true;
    }
    void remove(const QString& service, const QString& account) override { items.erase({service, account}); }

    std::map<std::pair<QString, QString>, QByteArray> items;
    bool isReached = true;
};

/// Records every start; `respond` decides how the program ends.
class FakeProcesses : public ProcessLauncher {
public:
    ProcessResult run(const QString& program, const QStringList& arguments) override {
        calls.push_back(QStringList(program) + arguments);
        return respond ? respond(calls.back()) : ProcessResult{};
    }
    ProcessResult runHolding(const FileDescriptor&, const QString& program,
                             const QStringList& arguments) override {
        return run(program, arguments);
    }
    bool isExecutable(const QString& program) const override { return executables.contains(program); }

    std::function<ProcessResult(const QStringList& call)> respond;
    std::vector<QStringList> calls;
    std::set<QString> executables{u"/usr/bin/rsync"_s};
};

/// A file system of names; true stands for a folder.
class FakeFiles : public FileManager {
public:
    bool exists(const std::filesystem::path& path) const override {
        const bool found = entries.contains(path);
        if (found && onFound)
            onFound();
        return found;
    }
    bool isDirectory(const std::filesystem::path& path) const override {
        return entries.contains(path) && entries.at(path);
    }
    void createDirectories(const std::filesystem::path& path) override { entries[path] = true; }
    void write(const std::filesystem::path& file, std::string_view) override {
        if (!isDirectory(file.parent_path()))
            throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory));
        entries[file] = false;
    }
    void remove(const std::filesystem::path& path) override { entries.erase(path); }
    void revalidate(const std::filesystem::path&) const override {}
    std::optional<VolumeIdentity> volumeIdentity(const std::filesystem::path& root) const override {
        return exists(root) ? std::optional(identity) : std::nullopt;
    }

    EntryKind kindOnVolume(const VolumeIdentity&, const std::filesystem::path& item) const override {
        return kinds.contains(item) ? kinds.at(item) : EntryKind::onVolume;
    }

    std::map<std::filesystem::path, EntryKind> kinds;
    std::map<std::filesystem::path, bool> entries;
    /// Called after each successful look for an entry.
    std::function<void()> onFound;
    VolumeIdentity identity{1, 1, {}};
};

struct AnyFileExists : FakeFiles {
    bool exists(const std::filesystem::path&) const override { return true; }
};

class FakeLocations : public FileLocations {
public:
    std::optional<std::filesystem::path> home() const override { return homeFolder; }
    std::optional<std::filesystem::path> applicationSupport() const override { return support; }
    std::filesystem::path volumesRoot() const override { return root; }
    std::filesystem::path applicationBundle() const override { return bundle; }
    uid_t userId() const override { return 501; }

    std::optional<std::filesystem::path> homeFolder = "/home/anna";
    std::optional<std::filesystem::path> support;
    std::filesystem::path bundle = "/opt/ternvault";
    std::filesystem::path root = "/Volumes";
};

class FakeFilePanel : public FilePanel {
public:
    void show(const FilePanelTexts&, Completion completion) override { pending = std::move(completion); }
    Completion pending;
};

class FakePasteboard : public Pasteboard {
public:
    std::vector<QUrl> fileURLs() const override { return urls; }
    QVariant propertyList(const QString& type) const override { return propertyLists.value(type); }
    std::vector<std::optional<QString>> itemTexts(const QString& type) const override {
        return texts.value(type);
    }
    bool holdsFileURLs() const override { return !urls.empty(); }

    std::vector<QUrl> urls;
    QVariantMap propertyLists;
    QMap<QString, std::vector<std::optional<QString>>> texts;
};

class FakeActivation : public Activation {
public:
    void activate() override { ++count; }
    int count = 0;
};

class FakeSecurityScope : public SecurityScope {
public:
    bool begin(const std::filesystem::path& file) override {
        if (grant)
            open.insert(file);
        return grant;
    }
    void end(const std::filesystem::path& file) override { open.erase(file); }
    bool grant = false;
    std::set<std::filesystem::path> open;
};

class FakeLog : public UnifiedLog {
public:
    void error(const QString& subsystem, const QString& category, const QString& message) override {
        messages.push_back(subsystem + u'/' + category + QStringLiteral(": ") + message);
    }
    std::vector<QString> messages;
};

class FakeWorkspace : public Workspace {
public:
    void openFolder(const std::filesystem::path& folder) override { opened.push_back(folder); }
    void openURL(const QUrl& url) override { browsed.push_back(url); }
    std::vector<std::filesystem::path> opened;
    std::vector<QUrl> browsed;
};

/// Records every request; the test answers it through `answer`.
class FakeHttp : public HttpClient {
public:
    void send(const HttpRequest& request, std::function<void(HttpOutcome)> done) override {
        requests.push_back(request);
        pending.push_back(std::move(done));
    }
    /// Answers the oldest request that waits.
    void answer(const HttpOutcome& outcome) {
        const auto done = std::move(pending.front());
        pending.pop_front();
        done(outcome);
    }

    std::vector<HttpRequest> requests;
    std::deque<std::function<void(HttpOutcome)>> pending;
};

/// Everybody's turn, but for the first `busy` times.
class FakeCopyTurns : public CopyTurns {
public:
    std::optional<FileDescriptor> take(const std::filesystem::path& volumeRoot,
                                       std::chrono::milliseconds) override {
        asked.push_back(volumeRoot);
        if (busy == 0)
            return FileDescriptor();
        --busy;
        if (onBusy)
            onBusy();
        return std::nullopt;
    }
    int busy = 0;
    std::function<void()> onBusy;
    std::vector<std::filesystem::path> asked;
};

/// All ports, faked, with the Platform that refers to them; HTTP may be real.
struct FakePlatform {
    FakePlatform() = default;
    explicit FakePlatform(HttpClient& realHttp) : usedHttp(realHttp) {}

    VirtualTime time;
    FakeDefaults defaults;
    FakeSecrets secrets;
    FakeProcesses processes;
    FakeFiles files;
    FakeLocations locations;
    FakeFilePanel filePanel;
    FakePasteboard pasteboard;
    FakeActivation activation;
    FakeSecurityScope securityScope;
    FakeLog log;
    FakeWorkspace workspace;
    FakeHttp http;
    FakeCopyTurns copyTurns;
    HttpClient& usedHttp = http;
    Platform platform{time,  time,      time,      defaults,   secrets,    processes,
                      files, locations, filePanel, pasteboard, activation, securityScope,
                      log,   workspace, usedHttp,  copyTurns};
};

} // namespace ternvault::test
