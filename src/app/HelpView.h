#pragma once

#include <QScrollArea>

#include <functional>
#include <string>

namespace peekmend {

/// What a user should know before repairing anything, and two links.
class HelpView : public QScrollArea {
public:
    /// `openURL` opens an address with the program that handles it.
    explicit HelpView(const std::function<bool(const std::string& address)>& openURL);
};

} // namespace peekmend
