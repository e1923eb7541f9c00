#pragma once

#include "platform/HttpClient.h"

#include <QByteArray>
#include <QString>

#include <stdexcept>

namespace ternvault {

/// The agent did not create the account.
class CreateUserError : public std::runtime_error {
public:
    /// `code` is for programs, `message` for the user.
    static CreateUserError server(const QString& code, const QString& message) { return {code, message}; }

    const QString& code() const { return code_; }
    const QString& message() const { return message_; }
    bool userExists() const;

private:
    CreateUserError(const QString& code, const QString& message)
        : std::runtime_error(message.toStdString()), code_(code), message_(message) {}

    QString code_;
    QString message_;
};

/// The body of the request for an account. Throws std::invalid_argument for what is not text.
QByteArray createUserBody(const QString& username, const QString& password);

/// Returns when the answer says that the account was created, else throws CreateUserError.
void checkCreateUserAnswer(const HttpResponse& answer);

} // namespace ternvault
