#pragma once

#include "inventory/PlugInKitInventory.h"

#include <QAccessible>
#include <QColor>
#include <QFont>
#include <QIcon>
#include <QString>

#include <cstdint>
#include <string_view>

class QEvent;
class QWidget;

/// The roles that text, colours and symbols have in all views, and what they look like here.
namespace peekmend {

enum class TextRole : std::uint8_t {
    body,
    bodyMedium,
    title2,
    title3,
    headline,
    callout,
    calloutMedium,
    footnote,
    caption,
    caption2,
};

enum class ColourRole : std::uint8_t { primary, secondary, red, green, orange };

/// Space around and between the elements of a view, in points.
namespace spacing {
inline constexpr int page = 20;
inline constexpr int section = 16;
inline constexpr int group = 12;
inline constexpr int item = 8;
inline constexpr int small = 6;
inline constexpr int tight = 2;
} // namespace spacing

/// The application's font in this role.
[[nodiscard]] QFont roleFont(TextRole role);

/// The colour in the application's palette, light or dark. All are readable on its window and base
/// colours.
[[nodiscard]] QColor roleColour(ColourRole role);

/// The colour of the sign that stands for the state.
[[nodiscard]] ColourRole stateColour(QLRegistrationState state);

/// Gives the widget's own text these roles. To be called again when the style changes.
void applyRoles(QWidget& widget, TextRole text, ColourRole colour);

/// Tells all that is in the window, by a change of style, when the application's font or palette
/// has changed: of that, the toolkit tells windows only.
void handOnRoleChange(QWidget& window, const QEvent& event);

/// One of our own symbols, by the name of its file, drawn in the colour of the text around it.
[[nodiscard]] QIcon symbol(const QString& name);

/// The text with what would break a line, or cannot be seen, replaced by visible characters.
[[nodiscard]] QString singleLine(const QString& text);

/// The text as a tool tip that shows it literally and breaks lines anywhere.
[[nodiscard]] QString plainToolTip(const QString& text);

/// Draws around the whole widget that it has the focus.
void drawFocusFrame(QWidget& widget);

/// A width in points that grows with the font: `width` with a usual one.
[[nodiscard]] int widthForFont(int width);

/// Text from the core, which is UTF-8, as it may stand on screen: other bytes, and characters that
/// would reorder the text around them, become replacement characters, and of a text that is longer
/// than anybody reads there the middle is left out, since its layout would hold up the window.
[[nodiscard]] QString displayText(std::string_view text);

/// What assistive technology is told that the widget is, for widgets whose class does not say it.
/// Such a widget has its accessible name, and as children its child widgets; text has none. To be
/// called when the widget is created.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

/// Makes assistive technology speak the sentence.
void announce(QWidget& window, const QString& sentence);

} // namespace peekmend
