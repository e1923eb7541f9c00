#pragma once

#include <QIcon>

namespace ternvault {

/// A drawing, which is costly to load and to render. In the program's resources.
inline QIcon applicationIcon() {
    return QIcon(QStringLiteral(":/ternvault/icon.svg"));
}

} // namespace ternvault
