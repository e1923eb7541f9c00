#include "app/ApplicationService.h"

#include "app/StartupToken.h"
#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <vector>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// Longer than anything that holds up a running instance.
constexpr std::chrono::milliseconds patience(5000);

const auto serviceName = u"space.larkspur.ternvault"_s;
const auto objectPath = u"/space/larkspur/ternvault"_s;
const auto interface = u"org.freedesktop.Application"_s;

QDBusMessage methodCall(const QString& method) {
    return QDBusMessage::createMethodCall(serviceName, objectPath, interface, method);
}

std::vector<QDBusMessage> requests(const CommandLine& commandLine, const QVariantMap& startupTokens) {
    std::vector<QDBusMessage> calls;
    if (!commandLine.urls.empty()) {
        QStringList uris;
        for (const QUrl& url : commandLine.urls)
            uris << url.toString(QUrl::FullyEncoded);
        calls.push_back(methodCall(u"Open"_s) << uris);
    }
    if (!commandLine.action.isEmpty())
        calls.push_back(methodCall(u"ActivateAction"_s) << commandLine.action << QVariantList());
    if (calls.empty())
        calls.push_back(methodCall(u"Activate"_s));
    for (QDBusMessage& call : calls) {
        call << startupTokens;
        // Or the bus would start one more process where the other has just ended.
        call.setAutoStartService(false);
    }
    return calls;
}

bool areTaken(const std::vector<QDBusMessage>& calls, const QDBusConnection& bus) {
    return std::ranges::all_of(calls, [&bus](const QDBusMessage& call) {
        return bus.call(call, QDBus::Block, patience.count()).type() == QDBusMessage::ReplyMessage;
    });
}

} // namespace

ApplicationService::Start ApplicationService::claim(const CommandLine& commandLine,
                                                    const QVariantMap& startupTokens) {
    if (!sessionHasBus())
        return Start::first;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Start::first;
    // Before the name, so that whoever sees the name finds the object.
    bus.registerObject(objectPath, this, QDBusConnection::ExportAllSlots);
    const std::vector<QDBusMessage> calls = requests(commandLine, startupTokens);
    for (;;) {
        const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> name =
            bus.interface()->registerService(serviceName);
        // A bus that gives no names knows no other instance either.
        hasName_ = name.isValid() && name.value() == QDBusConnectionInterface::ServiceRegistered;
        if (hasName_ || !name.isValid())
            return Start::first;
        if (areTaken(calls, bus))
            return Start::handedOver;
        if (!bus.isConnected())
            return Start::first;
        // Where the other ended instead of answering, this one takes its place.
        if (bus.interface()->isServiceRegistered(serviceName))
            return Start::unanswered;
    }
}

void ApplicationService::release() {
    handlers_ = {};
    if (hasName_)
        QDBusConnection::sessionBus().unregisterService(serviceName);
}

void ApplicationService::Activate(const QVariantMap& platformData) {
    useStartupTokens(platformData);
    handlers_.activate();
}

void ApplicationService::Open(const QStringList& uris, const QVariantMap& platformData) {
    useStartupTokens(platformData);
    std::vector<QUrl> urls;
    for (const QString& uri : uris)
        urls.push_back(QUrl::fromEncoded(uri.toUtf8()));
    handlers_.open(urls);
}

void ApplicationService::ActivateAction(const QString& name, const QVariantList&,
                                        const QVariantMap& platformData) {
    useStartupTokens(platformData);
    handlers_.performAction(name);
}

} // namespace ternvault
