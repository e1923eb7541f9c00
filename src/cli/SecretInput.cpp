#include "cli/SecretInput.h"

#include "base/Utf8.h"

#include <cerrno>
#include <cstdio>

#include <termios.h>
#include <unistd.h>

namespace ternvault::cli {

namespace {

constexpr char interruptCharacter = 3;

/// Switches the terminal's echo off while it lives.
class SilentTerminal {
public:
    SilentTerminal() : known_(::tcgetattr(STDIN_FILENO, &before_) == 0) {
        termios silent = before_;
        // Interrupts arrive as characters, so that none ends the process while the echo is off.
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        if (known_)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        if (known_)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

private:
    termios before_{};
    bool known_;
};

/// Unbuffered: no copy of the secret stays behind in a stream's buffer.
std::optional<QByteArray> readLine() {
    QByteArray line;
    for (;;) {
        char character = 0;
        const ssize_t got = ::read(STDIN_FILENO, &character, 1);
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 1 && character == interruptCharacter)
            return std::nullopt;
        if (got <= 0)
            return line.isEmpty() ? std::nullopt : std::optional(line);
        if (character == '\n')
            return line;
        line += character;
    }
}

} // namespace

std::optional<QString> readSecret(const QString& prompt) {
    std::optional<QByteArray> line;
    if (::isatty(STDIN_FILENO) == 1) {
        std::fputs((prompt + QStringLiteral(": ")).toUtf8().constData(), stderr);
        const SilentTerminal silent;
        line = readLine();
        std::fputc('\n', stderr);
    } else {
        line = readLine();
    }
    return line ? decodeUtf8(*line) : std::nullopt;
}

} // namespace ternvault::cli
