#pragma once

#include "app/UpdaterController.h"

#include <QUrl>

#include <functional>
#include <string>

namespace peekmend {

/// Keeps the update controller alive for the whole run of the program.
class UpdaterBridge {
public:
    /// Starts the controller. `feed` is the appcast's address, empty when this copy has none;
    /// `openURL` opens an address with the program that handles it.
    UpdaterBridge(const QUrl& feed, std::function<bool(const std::string& address)> openURL)
        : m_controller(feed, std::move(openURL)) {}

    [[nodiscard]] UpdaterController& controller() { return m_controller; }

private:
    UpdaterController m_controller;
};

} // namespace peekmend
