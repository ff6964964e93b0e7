#include "app/Appcast.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace peekmend {

namespace {

/// The XML reader takes a time that grows with the square of what one element may hold.
constexpr qsizetype documentLimit = qsizetype{64} * 1024;

/// The versions that an item names. People read the short one, and it is what this program's own
/// version is compared with; the other may count builds.
struct ItemVersions {
    QString plain;
    QString shortened;

    void take(QStringView name, const QString& text) {
        if (name == QLatin1String("version")) {
            plain = text.trimmed();
        } else if (name == QLatin1String("shortVersionString")) {
            shortened = text.trimmed();
        }
    }
};

/// Whether the text is nothing but a version. It will stand in a sentence of ours.
bool isPlainVersion(const QString& text) {
    constexpr qsizetype longest = 40;
    return text.size() <= longest && std::ranges::all_of(text, [](QChar character) {
               return character.unicode() < 0x80 &&
                      (character.isLetterOrNumber() || character == '.' || character == '-' ||
                       character == '+');
           });
}

AppcastItem readItem(QXmlStreamReader& xml) {
    AppcastItem item;
    ItemVersions versions;
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        for (const QXmlStreamAttribute& attribute : xml.attributes()) {
            if (name == QLatin1String("enclosure")) {
                versions.take(attribute.name(), attribute.value().toString());
            }
        }
        const QString text = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        versions.take(name, text);
        if (const QUrl page(text);
            name == QLatin1String("link") && page.scheme() == QLatin1String("https")) {
            item.page = page;
        }
    }
    item.versionText = versions.shortened.isEmpty() ? versions.plain : versions.shortened;
    // A version has to begin with a number to be one.
    item.version = QVersionNumber::fromString(item.versionText);
    if (!isPlainVersion(item.versionText)) {
        constexpr qsizetype mostSegments = 8;
        item.version = QVersionNumber(
            item.version.segments().first(std::min(item.version.segmentCount(), mostSegments)));
        item.versionText = item.version.toString();
    }
    return item;
}

} // namespace

std::optional<AppcastItem> newestAppcastItem(const QByteArray& document) {
    if (document.size() > documentLimit) {
        return std::nullopt;
    }
    QXmlStreamReader xml(document);
    std::optional<AppcastItem> newest;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement &&
            xml.name() == QLatin1String("item")) {
            AppcastItem item = readItem(xml);
            if (!item.version.isNull() && (!newest || newest->version < item.version)) {
                newest = std::move(item);
            }
        }
    }
    return xml.hasError() ? std::nullopt : newest;
}

} // namespace peekmend
