#pragma once

#include <QString>
#include <QUrl>

namespace ternvault {

/// The legal documents that this build ships; an acceptance counts for exactly this version of them.
inline const QString currentLegalVersion = QStringLiteral("2026-08-05");

/// Where the documents are. Invalid when the build was given no proper host.
QUrl privacyURL();
QUrl termsURL();

} // namespace ternvault
