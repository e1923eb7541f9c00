#include "platform/PropertyList.h"

#include <QDateTime>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <limits>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

QString awkwardText() {
    QString text;
    for (int unit = 0; unit < 0x10000; unit += unit < 0x300 ? 1 : 251)
        text.append(QChar(char16_t(unit)));
    return text + QChar(char16_t(0xd800)) + u"\r\n"_s;
}

QByteArray document(const QByteArray& value) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\">" + value + "</plist>";
}

} // namespace

TEST(PropertyList, EveryTypeAndTextComesBackAsItWas) {
    const QVariant text = awkwardText();
    const QVariant values[] = {
        text,
        u"  blanks at both ends \t\n"_s,
        u"<key>&amp;]]>\"'é漢😀"_s,
        u"\r"_s,
        true,
        false,
        std::numeric_limits<qlonglong>::min(),
        std::numeric_limits<qulonglong>::max(),
        1.0,
        0.1,
        -std::numeric_limits<double>::infinity(),
        QByteArray("\0\xff\r\n", 4),
        QByteArray(""),
        QDateTime({2026, 8, 5}, {14, 3, 27}, QTimeZone::utc()),
        QVariantList{},
        QVariantMap{{text.toString(), QVariantList{QVariantMap{{u""_s, text}}, true, 1.0}}}};
    for (const QVariant& value : values) {
        const QByteArray xml = writePropertyList(value);
        const auto decoded = readPropertyList(xml);
        ASSERT_TRUE(std::holds_alternative<QVariant>(decoded)) << xml.toStdString();
        EXPECT_EQ(std::get<QVariant>(decoded).typeId(), value.typeId()) << xml.toStdString();
        EXPECT_EQ(std::get<QVariant>(decoded), value) << xml.toStdString();
    }
    EXPECT_THROW(writePropertyList(QVariantList{QVariant()}), std::invalid_argument);
}

TEST(PropertyList, ReadsWhatOthersWriteAndNamesTheLineOfAnError) {
    const auto foreign = readPropertyList(document(R"(
        <!-- comment --><dict>
          <key>data</key><data>
            AAEC
            /w==
          </data>
          <key>real</key><real>+infinity</real>
          <key>text</key><string>a<![CDATA[<b>]]>&#x1F600;</string>
        </dict>)"));
    ASSERT_TRUE(std::holds_alternative<QVariant>(foreign));
    const QVariantMap map = std::get<QVariant>(foreign).toMap();
    EXPECT_EQ(map[u"data"_s], QByteArray("\0\1\2\xff", 4));
    EXPECT_EQ(map[u"real"_s].toDouble(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(map[u"text"_s], u"a<b>😀"_s);

    const QByteArray tooDeep =
        QByteArray("<array>").repeated(100000) + QByteArray("</array>").repeated(100000);
    const QByteArray broken[] = {"<plist/>",
                                 "<html><string/></html>",
                                 document("<string>x"),
                                 document("<string/><string/>"),
                                 document("<integer>1.5</integer>"),
                                 document("<data>*</data>"),
                                 document("<date>today</date>"),
                                 document("<uid>1</uid>"),
                                 document("<dict><key>k</key></dict>"),
                                 document("<string>a<b/></string>"),
                                 document(tooDeep)};
    for (const QByteArray& xml : broken)
        EXPECT_TRUE(std::holds_alternative<PropertyListError>(readPropertyList(xml))) << xml.left(100).data();
    const auto late = readPropertyList(document("<dict>\n<key>a</key>\n<bad/>\n</dict>"));
    EXPECT_EQ(std::get<PropertyListError>(late).line, 3);
}

} // namespace ternvault
