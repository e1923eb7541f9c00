#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace ternvault {

/// The text of a desktop entry that starts `program`, an absolute path, with these arguments. No text may
/// hold a control character.
QByteArray autostartEntry(const QString& name, const QString& program, const QStringList& arguments);

} // namespace ternvault
