#pragma once

#include <QByteArray>

#include <memory>

#include <nlohmann/json_fwd.hpp>

namespace ternvault {

/// Reads JSON of which nothing is known yet: bounded in depth, UTF-8 throughout. Numbers that are whole and
/// fit into 64 bits are integers in the document, however they are written, and no others are. Throws
/// DecodingError.
std::shared_ptr<const nlohmann::json> parseJson(const QByteArray& text);

} // namespace ternvault
