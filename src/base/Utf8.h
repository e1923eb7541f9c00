#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <optional>

namespace ternvault {

/// The text of valid UTF-8; nothing when the bytes are not valid.
inline std::optional<QString> decodeUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    const QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

} // namespace ternvault
