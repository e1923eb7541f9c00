#pragma once

#include <QVariantMap>

namespace ternvault {

/// What the desktop gives a start, or a request to the running application, so that its window may come to
/// the front, as org.freedesktop.Application's platform data. What Qt would take out of the environment is
/// taken out: call it before there are threads.
QVariantMap takeStartupTokens();

/// Makes use of the tokens of a request from outside, after whose call the window is to be activated.
void useStartupTokens(const QVariantMap& platformData);

} // namespace ternvault
