#include "platform/linux/finder/AccessibilityBus.h"

#include "platform/linux/SessionBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include <stdexcept>

namespace ternvault::finder {

using namespace Qt::StringLiterals;

namespace {

const auto connectionName = u"ternvault-accessibility"_s;
const auto accessibleInterface = u"org.a11y.atspi.Accessible"_s;
const auto rootPath = u"/org/a11y/atspi/accessible/root"_s;
const auto textInterface = u"org.a11y.atspi.Text"_s;

/// More children are rows of a list.
constexpr int mostChildren = 64;
/// More controls is no file manager's window.
constexpr std::size_t mostNodes = 1000;

/// The program takes no part, or has changed meanwhile.
struct NoAnswer : std::runtime_error {
    NoAnswer() : std::runtime_error("no answer on the accessibility bus") {}
};

int millisecondsUntil(AccessibilityBus::Deadline deadline) {
    const auto left = deadline - std::chrono::steady_clock::now();
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(left).count());
}

/// Reading a value as another type than it has would end the process.
QDBusArgument valueOfType(QLatin1String signature, const QVariant& value) {
    auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != signature)
        throw NoAnswer();
    return argument;
}

bool isMenu(const AccessibleNode& node) {
    return node.role == accessible::menu || node.role == accessible::menuBar ||
           node.role == accessible::popupMenu;
}

} // namespace

/// A call that is on its way. Many may be, so that asking each control of a window does not cost each time
/// the way to the program and back.
class AccessibilityBus::Question {
public:
    explicit Question(const QDBusPendingCall& call) : call_(call) {}

    /// Waits. Throws NoAnswer.
    QVariant value() {
        call_.waitForFinished();
        const QVariantList arguments = call_.reply().arguments();
        if (call_.isError() || arguments.isEmpty())
            throw NoAnswer();
        return arguments.front();
    }
    /// Empty where the object has none.
    QString text() {
        call_.waitForFinished();
        return call_.isError() ? QString() : call_.reply().arguments().value(0).toString();
    }
    uint number() { return value().toUInt(); }
    uint numberOrZero() {
        call_.waitForFinished();
        return call_.isError() ? 0 : number();
    }
    QVariant property() { return qvariant_cast<QDBusVariant>(value()).variant(); }
    /// Two words, the lower one first.
    std::uint64_t states() {
        const auto words = qdbus_cast<QList<uint>>(value());
        return words.value(0) | static_cast<std::uint64_t>(words.value(1)) << 32;
    }
    std::vector<Reference> references() {
        std::vector<Reference> result;
        const QDBusArgument array = valueOfType("a(so)"_L1, value());
        array.beginArray();
        while (!array.atEnd())
            result.push_back(takeReference(array));
        array.endArray();
        return result;
    }

private:
    QDBusPendingCall call_;
};

AccessibilityBus::Reference AccessibilityBus::takeReference(const QDBusArgument& from) {
    QString program;
    QDBusObjectPath path;
    from.beginStructure();
    from >> program >> path;
    from.endStructure();
    return {program, path.path()};
}

AccessibilityBus::~AccessibilityBus() {
    leave();
}

void AccessibilityBus::leave() {
    bus_ = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(connectionName);
}

QString AccessibilityBus::program(pid_t process, Deadline deadline) {
    if (!reach(deadline))
        return {};
    try {
        const Reference registry{u"org.a11y.atspi.Registry"_s, rootPath};
        const Reference bus{u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s};
        const std::vector<Reference> programs =
            ask(registry, accessibleInterface, u"GetChildren"_s).references();
        std::vector<Question> processes;
        processes.reserve(programs.size());
        for (const Reference& program : programs)
            processes.push_back(ask(bus, bus.program, u"GetConnectionUnixProcessID"_s, {program.program}));
        for (std::size_t index = 0; index < programs.size(); ++index) {
            // One that has just ended has no process.
            if (processes[index].numberOrZero() == static_cast<uint>(process))
                return programs[index].program;
        }
    } catch (const NoAnswer&) {
    }
    return {};
}

AccessibleWindow AccessibilityBus::activeWindow(const QString& program, Deadline deadline) {
    if (!reach(deadline))
        return {};
    try {
        std::vector<Child> next;
        for (const Reference& window : windowsOf({program, rootPath}))
            next.push_back({-1, window});
        AccessibleWindow controls;
        while (!next.empty() && controls.size() < mostNodes)
            next = describe(next, controls);
        return controls;
    } catch (const NoAnswer&) {
        return {};
    }
}

std::optional<AccessibilityBus::Control> AccessibilityBus::control(const QString& program,
                                                                   const QString& path, Deadline deadline) {
    if (!reach(deadline))
        return std::nullopt;
    try {
        const Reference object{program, path};
        Question role = ask(object, accessibleInterface, u"GetRole"_s);
        Question states = ask(object, accessibleInterface, u"GetState"_s);
        Question parent = askProperty(object, u"Parent"_s);
        return Control{{-1, role.number(), states.states(), {}, {}},
                       takeReference(valueOfType("(so)"_L1, parent.property())).path};
    } catch (const NoAnswer&) {
        return std::nullopt;
    }
}

bool AccessibilityBus::reach(Deadline deadline) {
    deadline_ = deadline;
    if (bus_.isConnected())
        return true;
    const int patience = millisecondsUntil(deadline);
    if (patience <= 0 || !sessionHasBus())
        return false;
    const QDBusMessage question = QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                                                                 u"org.a11y.Bus"_s, u"GetAddress"_s);
    const QDBusMessage answer = QDBusConnection::sessionBus().call(question, QDBus::Block, patience);
    if (answer.type() != QDBusMessage::ReplyMessage)
        return false;
    QDBusConnection::disconnectFromBus(connectionName);
    bus_ = QDBusConnection::connectToBus(answer.arguments().value(0).toString(), connectionName);
    if (bus_.isConnected())
        listen();
    return bus_.isConnected();
}

/// Programs send what the registry has been asked for.
void AccessibilityBus::listen() {
    bus_.connect(QString(), QString(), u"org.a11y.atspi.Event.Object"_s, u"StateChanged"_s, {u"focused"_s},
                 QString(), this, SLOT(onStateChanged(QDBusMessage)));
    QDBusMessage request =
        QDBusMessage::createMethodCall(u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/registry"_s,
                                       u"org.a11y.atspi.Registry"_s, u"RegisterEvent"_s);
    request << u"object:state-changed:focused"_s;
    bus_.send(request);
}

void AccessibilityBus::onStateChanged(const QDBusMessage& signal) {
    focusMoved_(signal.service(), signal.path(), signal.arguments().value(1).toInt() != 0);
}

AccessibilityBus::Question AccessibilityBus::ask(const Reference& object, const QString& interface,
                                                 const QString& method, const QVariantList& arguments) const {
    const int patience = millisecondsUntil(deadline_);
    if (patience <= 0)
        throw NoAnswer();
    QDBusMessage call = QDBusMessage::createMethodCall(object.program, object.path, interface, method);
    call.setArguments(arguments);
    return Question(bus_.asyncCall(call, patience));
}

AccessibilityBus::Question AccessibilityBus::askProperty(const Reference& object, const QString& name) const {
    return ask(object, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {accessibleInterface, name});
}

std::vector<AccessibilityBus::Reference> AccessibilityBus::windowsOf(const Reference& program) const {
    const std::vector<Reference> windows = ask(program, accessibleInterface, u"GetChildren"_s).references();
    std::vector<std::pair<Question, Question>> answers;
    answers.reserve(windows.size());
    for (const Reference& window : windows) {
        answers.emplace_back(ask(window, accessibleInterface, u"GetRole"_s),
                             ask(window, accessibleInterface, u"GetState"_s));
    }
    std::vector<Reference> chosen;
    int activeOnes = 0;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const AccessibleNode node{-1, answers[index].first.number(), answers[index].second.states(), {}, {}};
        activeOnes += node.has(accessible::active) ? 1 : 0;
        if (node.has(accessible::active) ||
            (node.role == accessible::window && node.has(accessible::showing)))
            chosen.push_back(windows[index]);
    }
    return activeOnes == 1 ? chosen : std::vector<Reference>();
}

/// What is asked about each of a row of controls at once.
struct AccessibilityBus::Description {
    Question role, states, name, size;

    AccessibleNode node(int parent) {
        return {parent, role.number(), states.states(), name.property().toString(), {}};
    }
};

std::vector<AccessibilityBus::Child> AccessibilityBus::describe(const std::vector<Child>& children,
                                                                AccessibleWindow& window) const {
    std::vector<Description> descriptions;
    descriptions.reserve(children.size());
    for (const auto& [parent, object] : children) {
        descriptions.push_back({ask(object, accessibleInterface, u"GetRole"_s),
                                ask(object, accessibleInterface, u"GetState"_s),
                                askProperty(object, u"Name"_s), askProperty(object, u"ChildCount"_s)});
    }
    std::vector<std::pair<int, Question>> contents;
    std::vector<std::pair<int, Question>> inside;
    for (std::size_t index = 0; index < children.size(); ++index) {
        const int place = static_cast<int>(window.size());
        window.push_back(descriptions[index].node(children[index].parent));
        const AccessibleNode& node = window.back();
        const Reference& object = children[index].reference;
        if (node.has(accessible::editable))
            contents.emplace_back(place, ask(object, textInterface, u"GetText"_s, {0, -1}));
        const int size = descriptions[index].size.property().toInt();
        if (size > 0 && size <= mostChildren && !isMenu(node))
            inside.emplace_back(place, ask(object, accessibleInterface, u"GetChildren"_s));
    }
    for (auto& [place, content] : contents)
        window[static_cast<std::size_t>(place)].content = content.text();
    std::vector<Child> next;
    for (auto& [place, references] : inside) {
        for (Reference& reference : references.references())
            next.push_back({place, std::move(reference)});
    }
    return next;
}

} // namespace ternvault::finder
