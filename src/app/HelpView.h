#pragma once

#include <QScrollArea>

#include <functional>
#include <string>

namespace peekmend {

/// What a user should know before repairing anything, and two links.
class HelpView : public QScrollArea {
public:
    /// `openURL` opens an address with the program that handles it.
    explicit HelpView(std::function<bool(const std::string& address)> openURL);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makePage();

    std::function<bool(const std::string& address)> m_openURL;
};

} // namespace peekmend
