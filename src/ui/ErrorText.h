#pragma once

#include <optional>

class QString;

namespace ternvault {

class ClampedText;

/// A line of its own for what went wrong; without an error it takes no place. Announced when it appears.
ClampedText* makeErrorText();
void showError(ClampedText& text, const std::optional<QString>& error);

} // namespace ternvault
