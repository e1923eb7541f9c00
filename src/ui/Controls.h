#pragma once

#include "ui/TextStyles.h"

#include <QPalette>
#include <QString>

class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

namespace ternvault {

/// A palette's role for the colour, so that light and dark are followed.
struct TextLook {
    TextStyle style;
    QPalette::ColorRole colour;
};

inline constexpr QPalette::ColorRole secondaryText = QPalette::PlaceholderText;
inline constexpr QPalette::ColorRole errorText = QPalette::BrightText;

inline constexpr TextLook titleLook{TextStyle::title, QPalette::WindowText};
inline constexpr TextLook headlineLook{TextStyle::headline, QPalette::WindowText};
inline constexpr TextLook explanationLook{TextStyle::body, secondaryText};
inline constexpr TextLook captionLook{TextStyle::caption, secondaryText};
inline constexpr TextLook captionErrorLook{TextStyle::caption, errorText};
inline constexpr TextLook counterLook{TextStyle::counter, secondaryText};
inline constexpr TextLook calloutLook{TextStyle::callout, QPalette::WindowText};
inline constexpr TextLook calloutSecondaryLook{TextStyle::callout, secondaryText};
inline constexpr TextLook errorLook{TextStyle::callout, errorText};

void applyLook(QLabel& label, const TextLook& look);

/// A text that wraps onto as many lines as it needs. It may hold anything and is shown as it is.
QLabel* makeText(const QString& text, const TextLook& look);

// In the titles of buttons and labels an ampersand marks the mnemonic, and two stand for one.
QPushButton* makeButton(const QString& title);
QPushButton* makeProminentButton(const QString& title);
/// Opens something in the browser.
QPushButton* makeLink(const QString& title);

/// A field whose accessible name is `name`.
QLineEdit* makeField(const QString& name, const QString& placeholder);
QLineEdit* makeSecureField(const QString& name, const QString& placeholder);

/// Makes Return and Enter press `button`, wherever in `window` the focus is, and says so to assistive
/// technology.
void makeDefault(QPushButton& button, QWidget& window);

} // namespace ternvault
