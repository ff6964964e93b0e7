#pragma once

#include "app/Style.h"

#include <QLabel>
#include <QPushButton>
#include <QTextEdit>

#include <map>

class QProgressBar;

namespace peekmend {

/// A short text of our own, or one character: plain, and not broken.
class Label : public QLabel {
public:
    Label(const QString& text, TextRole textRole, ColourRole colourRole = ColourRole::primary);

    void setColourRole(ColourRole role);

protected:
    void changeEvent(QEvent* event) override;

private:
    TextRole m_textRole;
    ColourRole m_colourRole;
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

private:
    [[nodiscard]] QString elided() const;

    QString m_wholeText;
};

/// A text of any length, plain, broken at words or where need be anywhere, that can be selected
/// and copied. It is as high as its text, up to a limit; beyond it, it scrolls.
class TextBlock : public QTextEdit {
public:
    explicit TextBlock(TextRole textRole, ColourRole colourRole = ColourRole::primary);

    // Instead of the inherited one, which takes for markup what looks like it.
    void setText(const QString& text);
    /// For texts of our own only.
    void setInlineMarkdown(const QString& text);
    void setColourRole(ColourRole role);
    void setTextRole(TextRole role);
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

    TextRole m_textRole;
    ColourRole m_colourRole;
    int m_heightLimit = QWIDGETSIZE_MAX;
    /// Of the whole text, by width. Layouts ask for a few widths again and again.
    mutable std::map<int, int> m_heights;
};

/// A button that keeps the focus while it is disabled, so that a key that is pressed once more does
/// not press its neighbour, and that lets a press be called off.
class ActionButton : public QPushButton {
public:
    explicit ActionButton(const QString& text);

    /// The press under way, if any, will not become a click, whatever the mouse does.
    void cancelPress() { setDown(false); }

protected:
    bool focusNextPrevChild(bool next) override;
    void mouseMoveEvent(QMouseEvent* event) override;
};

/// A line across the whole width.
[[nodiscard]] QWidget* makeDivider();

/// A progress indicator that is named by `text`.
[[nodiscard]] QProgressBar* makeProgressBar(const QString& text);

} // namespace peekmend
