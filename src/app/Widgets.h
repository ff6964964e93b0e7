#pragma once

#include "app/Style.h"

#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QTextEdit>

#include <map>
#include <optional>
#include <string>

namespace peekmend {

/// A widget of the toolkit whose text keeps its roles when the application's look changes.
template <typename Base>
class Styled : public Base {
public:
    void setRoles(TextRole text, ColourRole colour = ColourRole::primary) {
        m_text = text;
        m_colour = colour;
        applyRoles(*this, text, colour);
    }

protected:
    void changeEvent(QEvent* event) override {
        Base::changeEvent(event);
        if (event->type() == QEvent::StyleChange) {
            applyRoles(*this, m_text, m_colour);
        }
    }

private:
    TextRole m_text = TextRole::body;
    ColourRole m_colour = ColourRole::primary;
};

/// Opens the widget's context menu there on the screen: "Copy" for the text, and "Copy Path" where
/// there is one.
void openCopyMenu(QWidget& widget, const QPoint& position, const QString& text,
                  const std::optional<std::string>& path = {});

/// A short text of our own, or one character: plain, not broken, and copied by a context menu.
class Label : public Styled<QLabel> {
public:
    Label(const QString& text, TextRole textRole, ColourRole colourRole = ColourRole::primary) {
        setTextFormat(Qt::PlainText);
        setText(text);
        setRoles(textRole, colourRole);
    }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

    [[nodiscard]] virtual QString wholeText() const { return text(); }
};

/// A text from outside on one line, which is shortened in the middle where it does not fit, and is
/// then in the tool tip whole.
class ElidedLabel : public Label {
public:
    using Label::Label;

    /// The text as it is; what would break the line is shown by signs.
    void setWholeText(const QString& text);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    [[nodiscard]] QString wholeText() const override { return m_wholeText; }

private:
    [[nodiscard]] QString elided() const;

    QString m_wholeText;
};

/// A text of any length, plain, broken at words or where need be anywhere, that can be selected
/// and copied. It is as high as its text, up to a limit; beyond it, it scrolls.
class TextBlock : public Styled<QTextEdit> {
public:
    explicit TextBlock(TextRole textRole, ColourRole colourRole = ColourRole::primary);

    // Instead of the inherited one, which takes for markup what looks like it.
    void setText(const QString& text);
    /// For texts of our own only.
    void setInlineMarkdown(const QString& text);
    /// The greatest height in points.
    void setHeightLimit(int height);
    /// To be called after changes of the document that were made directly.
    void documentChanged();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    [[nodiscard]] int wholeHeight(int width) const;
    void updateScrollBar();

    QString m_text;
    int m_heightLimit = QWIDGETSIZE_MAX;
    /// Of the whole text, by width. Layouts ask for a few widths again and again.
    mutable std::map<int, int> m_heights;
};

/// A button that keeps the focus while it is disabled, so that a key that is pressed once more does
/// not press its neighbour, and that lets a press be called off.
class ActionButton : public QPushButton {
public:
    explicit ActionButton(const QString& text);

    /// Presses the button by this key too, as long as the view around it is shown.
    void setKey(QKeySequence::StandardKey key, QWidget& view);

    /// The press under way, if any, will not become a click, whatever the mouse does.
    void cancelPress() { setDown(false); }

protected:
    bool focusNextPrevChild(bool next) override;
    void mouseMoveEvent(QMouseEvent* event) override;
};

/// Shows by the mouse pointer over the view that something runs in it, or no more.
void setBusy(QWidget& view, bool isBusy);

/// A line across the whole width.
[[nodiscard]] QWidget* makeDivider();

/// A progress indicator under its label.
[[nodiscard]] QWidget* makeProgress(const QString& text);

/// A layout of the widget, with these spaces around it and between its elements.
template <typename Layout>
Layout* makeLayout(QWidget* widget, int margin, int space) {
    auto* const layout = new Layout(widget);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(space);
    return layout;
}

} // namespace peekmend
