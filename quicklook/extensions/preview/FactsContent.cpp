#include "Preview.h"

#include "platform/FileURL.h"
#include "platform/UniformType.h"

#include <QDateTime>
#include <QLocale>
#include <QStringList>

#include <sys/stat.h>

namespace peekmend {

namespace {

QString typeOf(const std::string& path) {
    if (const auto type = systemTypeDatabase().contentType(FileURL(path)); type && *type) {
        return QString::fromStdString((*type)->identifier);
    }
    return "unknown";
}

} // namespace

std::unique_ptr<QWidget> factsContent(const std::string& path) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
        return messageContent("This file cannot be examined.");
    }
    const QLocale locale;
    QStringList facts{displayName(path)};
    if (S_ISREG(status.st_mode)) {
        facts += "Size: " + locale.formattedDataSize(status.st_size);
    }
    facts += "Type: " + typeOf(path);
    facts += "Modified: " +
             locale.toString(QDateTime::fromSecsSinceEpoch(status.st_mtime), QLocale::ShortFormat);
    return messageContent(facts.join('\n'));
}

} // namespace peekmend
