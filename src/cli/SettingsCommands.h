#pragma once

#include "model/AppModel.h"
#include "platform/SecretStore.h"

#include <QStringList>

namespace ternvault::cli {

/// One line per setting that `set` and `get` take.
QString describeSettings();

/// `set KEY VALUE`; a secret has no VALUE and is read from a prompt or from standard input. Returns the exit
/// status.
int setSetting(AppModel& model, SecretStore& secrets, const QStringList& arguments);
/// `get KEY`; of a secret only whether it is set.
int getSetting(const AppModel& model, const QStringList& arguments);

} // namespace ternvault::cli
