#pragma once

#include <QString>

#include <optional>

namespace ternvault::cli {

/// Reads a secret: with a prompt and without echo where standard input is a terminal, otherwise the first
/// line of standard input. Nothing when there is no line, or it is not UTF-8.
std::optional<QString> readSecret(const QString& prompt);

} // namespace ternvault::cli
