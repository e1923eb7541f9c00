#include "cli/Terminal.h"

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

/// What drives the terminal, or makes the text around it read as another one. The joiners belong to scripts
/// and emoji.
bool isUnprintable(QChar character) {
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        return character != u'\u200c' && character != u'\u200d';
    default:
        return false;
    }
}

/// A line break at the end is the line's own.
QString printable(QString text) {
    while (text.endsWith(u'\n') || text.endsWith(u'\r'))
        text.chop(1);
    QString result;
    for (const QChar character : text) {
        if (character == u'\n')
            result += u"\\n"_s;
        else if (isUnprintable(character))
            result += u"\\x"_s + QString::number(character.unicode(), 16).rightJustified(2, u'0');
        else
            result += character;
    }
    return result;
}

void write(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
}

int terminalWidth() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

void printLine(const QString& text) {
    write(stdout, printable(text) + u'\n');
}

void printError(const QString& text) {
    write(stderr, printable(text) + u'\n');
}

ProgressLine::ProgressLine() : isTerminal_(::isatty(STDOUT_FILENO) == 1) {}

void ProgressLine::show(const QString& text) {
    if (isTerminal_)
        write(stdout, u"\r\033[K"_s + printable(text).left(terminalWidth() - 1));
}

void ProgressLine::clear() {
    if (isTerminal_)
        write(stdout, u"\r\033[K"_s);
}

} // namespace ternvault::cli
