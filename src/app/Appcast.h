#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QVersionNumber>

#include <optional>

namespace peekmend {

/// The newest version that an appcast offers.
struct AppcastItem {
    QVersionNumber version;
    /// The version as it is written.
    QString versionText;
    /// The page that tells about it; empty when there is none on the web.
    QUrl page;
};

/// The item with the highest version in an appcast, which is an RSS document whose items or their
/// enclosures carry a version. None when the document is damaged, holds no version or is longer
/// than 64 KiB.
[[nodiscard]] std::optional<AppcastItem> newestAppcastItem(const QByteArray& document);

} // namespace peekmend
