#pragma once

#include "platform/linux/SelectionPasteboard.h"

#include <chrono>
#include <memory>

namespace ternvault {

/// The desktop's clipboard over an X connection of its own, which the first reading opens, so that a thread
/// beside the main thread can read without an event loop. What was read is remembered until somebody copies.
/// One thread at a time.
///
/// A reading ends within `patience`: what is not there by then is empty. The program that let it pass is not
/// asked again before its late answer comes or another one owns the clipboard. What is larger than 64 MiB is
/// empty, too, and so is everything where the display cannot be reached.
class X11Pasteboard final : public SelectionPasteboard {
public:
    /// A paste is read thrice, and whoever waits for it holds a key back.
    explicit X11Pasteboard(std::chrono::milliseconds patience = std::chrono::milliseconds(30));
    ~X11Pasteboard() override;

private:
    class Requestor;

    QByteArray content(const QString& mimeType) const override;

    std::chrono::milliseconds patience_;
    mutable std::unique_ptr<Requestor> requestor_;
};

} // namespace ternvault
