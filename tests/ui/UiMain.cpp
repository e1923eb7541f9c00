#include "ui/DoubleClickGuard.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QLocale>

#include <gtest/gtest.h>

namespace {

struct LightAppearance : ternvault::Appearance {
    bool isDark() const override { return false; }
};

} // namespace

/// The widgets are real; only the screen is none.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QLocale::setDefault(QLocale::c());
    QApplication application(argc, argv);
    LightAppearance appearance;
    const ternvault::Theme theme(application, appearance);
    const ternvault::DoubleClickGuard doubleClicks(application);
    return RUN_ALL_TESTS();
}
