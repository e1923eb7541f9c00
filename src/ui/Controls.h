#pragma once

#include <QString>

class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

namespace ternvault {

/// Text styles and colours are the style sheet's; texts may hold anything and are shown as they are.
struct TextLook {
    const char* style = "body";
    const char* colour = "text";
};

inline constexpr TextLook titleLook{"title", "text"};
inline constexpr TextLook headlineLook{"headline", "text"};
inline constexpr TextLook explanationLook{"body", "secondary"};
inline constexpr TextLook captionLook{"caption", "secondary"};
inline constexpr TextLook captionErrorLook{"caption", "error"};
inline constexpr TextLook calloutLook{"callout", "text"};
inline constexpr TextLook calloutSecondaryLook{"callout", "secondary"};
inline constexpr TextLook errorLook{"callout", "error"};

void applyLook(QWidget& widget, const TextLook& look);

/// A text that wraps onto as many lines as it needs.
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
