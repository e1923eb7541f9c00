#include "platform/linux/programs/AutostartEntry.h"

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// One argument as the value of Exec quotes it; a percent sign would begin a field code.
QString quoted(QString argument) {
    for (const QChar special : u"\\\"`$"_s)
        argument.replace(special, u'\\' + QString(special));
    argument.replace(u'%', "%%"_L1);
    return u'"' + argument + u'"';
}

/// A text as the value of a key, on top of whatever quoting it has.
QString escaped(QString value) {
    return value.replace(u'\\', "\\\\"_L1);
}

} // namespace

QByteArray autostartEntry(const QString& name, const QString& program, const QStringList& arguments) {
    QStringList command{quoted(program)};
    // GLib looks for the program before it undoes the doubling, and drops an entry whose program it cannot
    // find.
    if (program.contains(u'%'))
        command.prepend(u"/usr/bin/env"_s);
    for (const QString& argument : arguments)
        command << quoted(argument);
    const QStringList lines{u"[Desktop Entry]"_s,
                            u"Type=Application"_s,
                            u"Name="_s + escaped(name),
                            u"TryExec="_s + escaped(program),
                            u"Exec="_s + escaped(command.join(u' ')),
                            u"Terminal=false"_s};
    return (lines.join(u'\n') + u'\n').toUtf8();
}

} // namespace ternvault
