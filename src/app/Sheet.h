#pragma once

#include <QDialog>
#include <QPointer>

#include <utility>

class QDialogButtonBox;
class QPushButton;
class QVBoxLayout;

namespace peekmend {

class TextBlock;

/// A dialog that blocks its window, if it has one, and is as high as its texts need.
class Sheet : public QDialog {
public:
    explicit Sheet(QWidget* window);

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

    [[nodiscard]] QVBoxLayout& column() { return *m_column; }

private:
    void fit();

    QVBoxLayout* m_column;
};

/// Takes the dialog away, if there is one, without a word to whoever listens to it.
template <typename Dialog>
void dismiss(QPointer<Dialog>& dialog) {
    if (QDialog* const dismissed = std::exchange(dialog, nullptr)) {
        dismissed->disconnect();
        dismissed->hide();
        dismissed->deleteLater();
    }
}

/// A short message with its buttons.
class Alert : public Sheet {
public:
    Alert(QWidget* window, const QString& title, const QString& message);

    void setMessage(const QString& message);

    /// Adds a button that accepts the dialog.
    QPushButton& addAcceptButton(const QString& text);
    /// Adds a button that does what Escape and closing do as well.
    QPushButton& addRejectButton(const QString& text);

private:
    TextBlock* m_message;
    QDialogButtonBox* m_buttons;
};

} // namespace peekmend
