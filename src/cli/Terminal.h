#pragma once

#include <QString>

namespace ternvault::cli {

/// Writes a line to standard output, or to standard error, as UTF-8. Control characters, those of direction
/// and line breaks too, are shown as escapes, so that a file's name cannot drive the terminal. Line breaks at
/// the end are left out.
void printLine(const QString& text);
void printError(const QString& text);

/// A line on standard output that the next one replaces, where standard output is a terminal; elsewhere
/// nothing.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool isShown() const { return isTerminal_; }
    void show(const QString& text);
    void clear();

private:
    bool isTerminal_;
};

} // namespace ternvault::cli
