#include "app/ApplicationService.h"

#include "app/StartupToken.h"
#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QUrl>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const auto name = u"space.larkspur.ternvault"_s;
const auto path = u"/space/larkspur/ternvault"_s;
const auto interface = u"org.freedesktop.Application"_s;

QDBusMessage request(const std::vector<QUrl>& urls, const QVariantMap& startupTokens) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(name, path, interface, urls.empty() ? u"Activate"_s : u"Open"_s);
    if (!urls.empty()) {
        QStringList uris;
        for (const QUrl& url : urls)
            uris << url.toString(QUrl::FullyEncoded);
        message << uris;
    }
    message << startupTokens;
    // Or the bus would start one more process where the other has just ended.
    message.setAutoStartService(false);
    return message;
}

} // namespace

ApplicationService::Start ApplicationService::claim(const std::vector<QUrl>& urls,
                                                    const QVariantMap& startupTokens) {
    if (!sessionHasBus())
        return Start::first;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Start::first;
    // Before the name, so that whoever sees the name finds the object.
    bus.registerObject(path, this, QDBusConnection::ExportAllSlots);
    while (!bus.registerService(name)) {
        const QDBusMessage answer = bus.call(request(urls, startupTokens));
        if (answer.type() == QDBusMessage::ReplyMessage)
            return Start::handedOver;
        if (!bus.isConnected())
            return Start::first;
        // Where the other ended instead of answering, this one takes its place.
        if (bus.interface()->isServiceRegistered(name))
            return Start::unanswered;
    }
    return Start::first;
}

void ApplicationService::release() {
    handlers_ = {};
    QDBusConnection::sessionBus().unregisterService(name);
}

void ApplicationService::Activate(const QVariantMap& platformData) {
    useStartupTokens(platformData);
    handlers_.activate();
}

void ApplicationService::Open(const QStringList& uris, const QVariantMap& platformData) {
    useStartupTokens(platformData);
    std::vector<QUrl> urls;
    for (const QString& uri : uris)
        urls.emplace_back(uri, QUrl::StrictMode);
    handlers_.open(urls);
}

void ApplicationService::ActivateAction(const QString& name, const QVariantList&,
                                        const QVariantMap& platformData) {
    useStartupTokens(platformData);
    handlers_.performAction(name);
}

} // namespace ternvault
