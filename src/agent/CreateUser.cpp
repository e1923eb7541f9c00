#include "agent/CreateUser.h"

#include "base/Utf8.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const QString userExistsCode = u"user_exists"_s;

} // namespace

bool CreateUserError::userExists() const {
    return code_ == userExistsCode;
}

QByteArray createUserBody(const QString& username, const QString& password) {
    if (!username.isValidUtf16() || !password.isValidUtf16())
        throw std::invalid_argument("The username or the password holds characters that are not text");
    return QJsonDocument(QJsonObject{{u"username"_s, username}, {u"password"_s, password}})
        .toJson(QJsonDocument::Compact);
}

void checkCreateUserAnswer(const HttpResponse& answer) {
    const QJsonObject object = QJsonDocument::fromJson(answer.body).object();
    const QString code = object.value(u"error"_s).toString();
    const QJsonValue message = object.value(u"message"_s);
    if (answer.status == 401)
        throw CreateUserError::server(u"unauthorized"_s, u"Unauthorized — check Agent Token in Settings"_s);
    if (answer.status == 409 || code == userExistsCode) {
        throw CreateUserError::server(userExistsCode,
                                      u"User already exists — switch to Login instead of Create"_s);
    }
    if (answer.status >= 200 && answer.status <= 299)
        return;
    throw CreateUserError::server(code.isEmpty() ? u"create_failed"_s : code,
                                  message.isString() ? message.toString()
                                                     : decodeUtf8(answer.body).value_or(u"Create failed"_s));
}

} // namespace ternvault
