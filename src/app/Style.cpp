#include "app/Style.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QEvent>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QSvgRenderer>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdlib>
#include <ranges>

namespace peekmend {

namespace {

struct RoleLook {
    double scale;
    QFont::Weight weight;
};

// In the order of `TextRole`.
constexpr RoleLook looks[] = {
    {1, QFont::Normal},      // body
    {1, QFont::DemiBold},    // bodyMedium
    {1.35, QFont::Bold},     // title2
    {1.2, QFont::Bold},      // title3
    {1, QFont::Bold},        // headline
    {0.95, QFont::Normal},   // callout
    {0.95, QFont::DemiBold}, // calloutMedium
    {0.9, QFont::Normal},    // footnote
    {0.88, QFont::Normal},   // caption
    {0.85, QFont::Normal},   // caption2
};

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

/// Whether text is black on white or white on black, which is chosen by who needs all of it.
bool isHighContrast(const QPalette& palette) {
    constexpr int leastDifference = 250;
    return std::abs(palette.color(QPalette::Window).lightness() -
                    palette.color(QPalette::WindowText).lightness()) >= leastDifference;
}

QColor mixed(const QColor& first, const QColor& second, float share) {
    const auto part = [share](float a, float b) { return a + ((b - a) * share); };
    return QColor::fromRgbF(part(first.redF(), second.redF()),
                            part(first.greenF(), second.greenF()),
                            part(first.blueF(), second.blueF()));
}

constexpr const char* accessibleRoleProperty = "peekmendAccessibleRole";

/// A widget in a role that its class does not have.
class RoleInterface : public QAccessibleWidget {
public:
    RoleInterface(QWidget* widget, QAccessible::Role role) : QAccessibleWidget(widget, role) {}

    // What a text is made of is no business of its readers.
    [[nodiscard]] int childCount() const override {
        return role() == QAccessible::StaticText ? 0 : QAccessibleWidget::childCount();
    }
};

QAccessibleInterface* roleInterface(const QString& /*className*/, QObject* object) {
    const QVariant role = object->property(accessibleRoleProperty);
    if (!role.isValid() || !object->isWidgetType()) {
        return nullptr;
    }
    return new RoleInterface(static_cast<QWidget*>(object),
                             static_cast<QAccessible::Role>(role.toInt()));
}

/// Draws a symbol in the colour that text has at that moment, sharp at any size and scale.
class SymbolEngine : public QIconEngine {
public:
    explicit SymbolEngine(const QString& name) : m_name(name) {
        QFile file(":/symbols/" + name + ".svg");
        if (file.open(QIODevice::ReadOnly)) {
            m_source = file.readAll();
        }
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State /*state*/) override {
        const QColor colour =
            roleColour(mode == QIcon::Disabled ? ColourRole::secondary : ColourRole::primary);
        QByteArray drawing = m_source;
        drawing.replace("currentColor", colour.name().toLatin1());
        QSvgRenderer(drawing).render(painter, rect);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new SymbolEngine(m_name); }

private:
    QString m_name;
    QByteArray m_source;
};

} // namespace

QFont roleFont(TextRole role) {
    const RoleLook& look = looks[static_cast<std::size_t>(role)];
    QFont font = QApplication::font();
    if (font.pointSizeF() > 0) {
        font.setPointSizeF(font.pointSizeF() * look.scale);
    } else {
        font.setPixelSize(qRound(font.pixelSize() * look.scale));
    }
    font.setWeight(look.weight);
    return font;
}

QColor roleColour(ColourRole role) {
    const QPalette palette = QApplication::palette();
    const bool dark = isDark(palette);
    switch (role) {
    case ColourRole::primary:
        return palette.color(QPalette::WindowText);
    case ColourRole::secondary:
        return mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window),
                     isHighContrast(palette) ? 0 : 0.35F);
    case ColourRole::red:
        return dark ? QColor(0xff7b72) : QColor(0xb3261e);
    case ColourRole::green:
        return dark ? QColor(0x6fce7f) : QColor(0x1a6e2e);
    case ColourRole::orange:
        return dark ? QColor(0xf2a65a) : QColor(0x9a4d00);
    }
    Q_UNREACHABLE();
}

ColourRole stateColour(QLRegistrationState state) {
    switch (state) {
    case QLRegistrationState::enabled:
        return ColourRole::green;
    case QLRegistrationState::ignored:
        return ColourRole::red;
    case QLRegistrationState::unmarked:
        return ColourRole::secondary;
    }
    Q_UNREACHABLE();
}

void applyRoles(QWidget& widget, TextRole text, ColourRole colour) {
    if (const QFont font = roleFont(text); widget.font() != font) {
        widget.setFont(font);
    }
    QPalette palette = QApplication::palette();
    const QColor textColour = roleColour(colour);
    palette.setColor(QPalette::WindowText, textColour);
    palette.setColor(QPalette::Text, textColour);
    if (widget.palette() != palette) {
        widget.setPalette(palette);
    }
}

void handOnRoleChange(QWidget& window, const QEvent& event) {
    if (event.type() != QEvent::ApplicationFontChange &&
        event.type() != QEvent::ApplicationPaletteChange) {
        return;
    }
    const auto children = window.findChildren<QWidget*>();
    // What is inside changes before what measures it.
    for (QWidget* const child : children | std::views::reverse) {
        QEvent change(QEvent::StyleChange);
        QApplication::sendEvent(child, &change);
    }
}

QIcon symbol(const QString& name) {
    return QIcon(new SymbolEngine(name));
}

QString singleLine(const QString& text) {
    QString line = text;
    for (QChar& character : line) {
        const char16_t unit = character.unicode();
        if (unit < 0x20) {
            // The pictures of control characters stand in the same order.
            character = QChar(static_cast<char16_t>(0x2400 + unit));
        } else if (unit == 0x7F || unit == 0x85 || unit == 0x2028 || unit == 0x2029) {
            character = QChar(0x2424);
        }
    }
    return line;
}

QString plainToolTip(const QString& text) {
    constexpr qsizetype longestRun = 40;
    QString broken;
    qsizetype run = 0;
    for (const QChar character : text) {
        run = character.isSpace() ? 0 : run + 1;
        if (run > longestRun && !character.isLowSurrogate()) {
            // Where a line may break but nothing is seen.
            broken += QChar(0x200B);
            run = 1;
        }
        broken += character;
    }
    return "<p style=\"white-space: pre-wrap\">" + broken.toHtmlEscaped() + "</p>";
}

void drawFocusFrame(QWidget& widget) {
    QPainter painter(&widget);
    QStyleOptionFocusRect option;
    option.initFrom(&widget);
    option.state |= QStyle::State_KeyboardFocusChange;
    widget.style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, &widget);
}

int widthForFont(int width) {
    constexpr int usualCharacterWidth = 8;
    const int characterWidth = QFontMetrics(QApplication::font()).averageCharWidth();
    return std::max(width, width * characterWidth / usualCharacterWidth);
}

QString displayText(std::string_view text) {
    constexpr std::size_t longestBeginning = 3000;
    constexpr std::size_t longestEnd = 1000;
    const auto decode = [](std::string_view part) {
        return QString::fromUtf8(part.data(), static_cast<qsizetype>(part.size()));
    };
    QString result;
    if (text.size() <= longestBeginning + longestEnd) {
        result = decode(text);
    } else {
        // Between two characters: of one, at most three bytes continue it.
        const auto boundary = [text](std::size_t index) {
            const auto continues = [text](std::size_t at) {
                return (static_cast<unsigned char>(text[at]) >> 6U) == 2;
            };
            const std::size_t last = index + 3;
            while (index < last && continues(index)) {
                ++index;
            }
            return index;
        };
        result = decode(text.substr(0, boundary(longestBeginning))) + " \u2026 " +
                 decode(text.substr(boundary(text.size() - longestEnd)));
    }
    for (QChar& character : result) {
        const char16_t unit = character.unicode();
        // These reorder what comes after them, which would be sentences of ours.
        if ((unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069)) {
            character = QChar::ReplacementCharacter;
        }
    }
    return result;
}

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
    QAccessible::installFactory(roleInterface);
    widget.setProperty(accessibleRoleProperty, static_cast<int>(role));
}

void announce(QWidget& window, const QString& sentence) {
    if (!QAccessible::isActive()) {
        return;
    }
    // A notification is spoken when it appears. There is no other way to say something without
    // moving the focus.
    auto* const notification = new QWidget(&window);
    setAccessibleRole(*notification, QAccessible::Notification);
    notification->setAccessibleName(sentence);
    notification->setAttribute(Qt::WA_TransparentForMouseEvents);
    notification->setGeometry(0, 0, 1, 1);
    notification->show();
    constexpr int longEnoughToBeSpoken = 5000;
    QTimer::singleShot(longEnoughToBeSpoken, notification, &QObject::deleteLater);
}

} // namespace peekmend
