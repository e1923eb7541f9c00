#include "platform/PropertyList.h"

#include <QDateTime>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// Deeper nesting is an error: a damaged or hostile file must not exhaust the stack.
constexpr int deepest = 100;

/// Our own attribute of a text element whose content is base64 of the text's UTF-16LE units.
const QString encodingAttribute = u"encoding"_s;
const QString utf16Encoding = u"base64-utf16le"_s;

QByteArray toUtf16(const QString& text) {
    QByteArray units;
    for (const QChar unit : text)
        units.append(char(unit.unicode() & 0xff)).append(char(unit.unicode() >> 8));
    return units;
}

QString fromUtf16(const QByteArray& units) {
    QString text;
    for (qsizetype i = 0; i + 1 < units.size(); i += 2)
        text.append(QChar(uchar(units[i]) | uchar(units[i + 1]) << 8));
    return text;
}

/// Whether an XML document can hold the text. A carriage return it can only hold as a reference, and a reader
/// that normalises line ends would still lose it.
bool xmlCanHold(const QString& text) {
    const auto isBad = [](QChar c) {
        const char16_t unit = c.unicode();
        return (unit < 0x20 && unit != u'\t' && unit != u'\n') || unit >= 0xfffe;
    };
    return text.isValidUtf16() && std::none_of(text.begin(), text.end(), isBad);
}

class Reader {
public:
    explicit Reader(const QByteArray& xml) : xml_(xml) {}

    std::variant<QVariant, PropertyListError> read() {
        QVariant value;
        if (xml_.readNextStartElement() && xml_.name() != "plist"_L1)
            xml_.raiseError(u"not a property list"_s);
        if (xml_.readNextStartElement())
            value = readValue(0);
        else if (!xml_.hasError())
            xml_.raiseError(u"no value"_s);
        if (xml_.readNextStartElement())
            xml_.raiseError(u"more than one value"_s);
        while (!xml_.atEnd())
            xml_.readNext();
        if (xml_.hasError())
            return PropertyListError{xml_.lineNumber(), xml_.errorString()};
        return value;
    }

private:
    QVariant readValue(int depth) {
        const QString type = xml_.name().toString();
        if (depth > deepest)
            xml_.raiseError(u"nested too deeply"_s);
        if (type == "dict"_L1)
            return readDictionary(depth);
        if (type == "array"_L1)
            return readArray(depth);
        if (type == "string"_L1)
            return readText();
        const QString text = xml_.readElementText().trimmed();
        if (type == "true"_L1 || type == "false"_L1)
            return type == "true"_L1;
        if (type == "integer"_L1)
            return readInteger(text);
        if (type == "real"_L1)
            return readReal(text);
        if (type == "data"_L1)
            return readData(text);
        if (type == "date"_L1)
            return readDate(text);
        xml_.raiseError(u"unknown type \"%1\""_s.arg(type));
        return {};
    }

    QVariantMap readDictionary(int depth) {
        QVariantMap map;
        while (xml_.readNextStartElement()) {
            if (xml_.name() != "key"_L1)
                xml_.raiseError(u"value without key"_s);
            const QString key = readText();
            if (!xml_.readNextStartElement() && !xml_.hasError())
                xml_.raiseError(u"key without value: %1"_s.arg(key));
            map.insert(key, xml_.hasError() ? QVariant() : readValue(depth + 1));
        }
        return map;
    }

    QVariantList readArray(int depth) {
        QVariantList list;
        while (xml_.readNextStartElement())
            list.append(readValue(depth + 1));
        return list;
    }

    QString readText() {
        const bool encoded = xml_.attributes().value(encodingAttribute) == utf16Encoding;
        const QString text = xml_.readElementText();
        return encoded ? fromUtf16(readData(text)) : text;
    }

    QVariant readInteger(const QString& text) {
        bool ok = false;
        if (const qlonglong value = text.toLongLong(&ok); ok)
            return value;
        const qulonglong value = text.toULongLong(&ok);
        if (!ok)
            xml_.raiseError(u"not an integer: %1"_s.arg(text));
        return value;
    }

    double readReal(const QString& text) {
        if (text == "+infinity"_L1)
            return qInf();
        if (text == "-infinity"_L1)
            return -qInf();
        bool ok = false;
        const double value = text.toDouble(&ok);
        if (!ok)
            xml_.raiseError(u"not a number: %1"_s.arg(text));
        return value;
    }

    QByteArray readData(const QString& text) {
        const QByteArray base64 = text.simplified().remove(u' ').toLatin1();
        const auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            xml_.raiseError(u"not base64"_s);
        return decoded.decoded;
    }

    QDateTime readDate(const QString& text) {
        const QDateTime date = QDateTime::fromString(text, Qt::ISODate);
        if (!date.isValid())
            xml_.raiseError(u"not a date: %1"_s.arg(text));
        return date.toUTC();
    }

    QXmlStreamReader xml_;
};

class Writer {
public:
    explicit Writer(QByteArray& xml) : xml_(&xml) { xml_.setAutoFormatting(true); }

    void write(const QVariant& value) {
        xml_.writeStartDocument();
        xml_.writeDTD(u"<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"_s);
        xml_.writeStartElement(u"plist"_s);
        xml_.writeAttribute(u"version"_s, u"1.0"_s);
        writeValue(value);
        xml_.writeEndDocument();
    }

private:
    void writeValue(const QVariant& value) {
        switch (value.typeId()) {
        case QMetaType::QString:
            return writeText(u"string"_s, value.toString());
        case QMetaType::Bool:
            return xml_.writeEmptyElement(value.toBool() ? u"true"_s : u"false"_s);
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            return xml_.writeTextElement(u"integer"_s, value.toString());
        case QMetaType::Double:
            return xml_.writeTextElement(
                u"real"_s, QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
        case QMetaType::QByteArray:
            return xml_.writeTextElement(u"data"_s, QString::fromLatin1(value.toByteArray().toBase64()));
        case QMetaType::QDateTime:
            return xml_.writeTextElement(u"date"_s, value.toDateTime().toUTC().toString(Qt::ISODate));
        case QMetaType::QVariantList:
            return writeArray(value.toList());
        case QMetaType::QVariantMap:
            return writeDictionary(value.toMap());
        default:
            throw std::invalid_argument("not a property list type: " + std::to_string(value.typeId()));
        }
    }

    void writeArray(const QVariantList& list) {
        xml_.writeStartElement(u"array"_s);
        for (const QVariant& value : list)
            writeValue(value);
        xml_.writeEndElement();
    }

    void writeDictionary(const QVariantMap& map) {
        xml_.writeStartElement(u"dict"_s);
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            writeText(u"key"_s, entry.key());
            writeValue(entry.value());
        }
        xml_.writeEndElement();
    }

    void writeText(const QString& element, const QString& text) {
        if (xmlCanHold(text))
            return xml_.writeTextElement(element, text);
        xml_.writeStartElement(element);
        xml_.writeAttribute(encodingAttribute, utf16Encoding);
        xml_.writeCharacters(QString::fromLatin1(toUtf16(text).toBase64()));
        xml_.writeEndElement();
    }

    QXmlStreamWriter xml_;
};

} // namespace

std::variant<QVariant, PropertyListError> readPropertyList(const QByteArray& xml) {
    return Reader(xml).read();
}

QByteArray writePropertyList(const QVariant& value) {
    QByteArray xml;
    Writer(xml).write(value);
    return xml;
}

} // namespace ternvault
