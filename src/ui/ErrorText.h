#pragma once

#include <optional>

class QLabel;
class QString;

namespace ternvault {

/// A line of its own for what went wrong; without an error it takes no place. Announced when it appears.
QLabel* makeErrorText();
void showError(QLabel& text, const std::optional<QString>& error);

} // namespace ternvault
