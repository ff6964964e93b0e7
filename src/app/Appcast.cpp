#include "app/Appcast.h"

#include <QXmlStreamReader>

namespace peekmend {

namespace {

/// A version has to begin with a number to be one.
void takeVersion(AppcastItem& item, const QString& text) {
    const QString trimmed = text.trimmed();
    const QVersionNumber version = QVersionNumber::fromString(trimmed);
    if (!version.isNull()) {
        item.version = version;
        item.versionText = trimmed;
    }
}

AppcastItem readItem(QXmlStreamReader& xml) {
    AppcastItem item;
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("enclosure")) {
            // The short form is what people read and what "version" of this program means.
            for (const char* const wanted : {"version", "shortVersionString"}) {
                for (const QXmlStreamAttribute& attribute : xml.attributes()) {
                    if (attribute.name() == QLatin1String(wanted)) {
                        takeVersion(item, attribute.value().toString());
                    }
                }
            }
            xml.skipCurrentElement();
        } else if (xml.name() == QLatin1String("shortVersionString") ||
                   (xml.name() == QLatin1String("version") && item.version.isNull())) {
            takeVersion(item, xml.readElementText(QXmlStreamReader::SkipChildElements));
        } else if (xml.name() == QLatin1String("link")) {
            const QUrl page(xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed());
            if (page.isValid() && page.scheme() == QLatin1String("https")) {
                item.page = page;
            }
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}

} // namespace

std::optional<AppcastItem> newestAppcastItem(const QByteArray& document) {
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
