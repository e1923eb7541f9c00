#pragma once

#include "ui/Colours.h"
#include "ui/Symbols.h"

#include <QWidget>

namespace ternvault {

/// Whether and how the volume is there: a symbol with a word, or nothing.
class MountBadge final : public QWidget {
public:
    MountBadge();

    /// `isComplete`: the agent can be asked, too.
    void display(bool isMounted, bool isComplete);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

private:
    void paintEvent(QPaintEvent* event) override;

    struct Look {
        QString label;
        Symbol symbol;
        ColourRole colour;
    };
    static Look lookOf(bool isComplete);

    bool isComplete_ = false;
};

} // namespace ternvault
