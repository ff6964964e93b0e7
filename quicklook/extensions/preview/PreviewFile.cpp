#include "PreviewFile.h"

#include <QStringDecoder>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace peekmend {

namespace {

std::unexpected<QString> cannotRead(int reason) {
    return std::unexpected(
        QString("This file cannot be read: %1.")
            .arg(QString::fromStdString(std::generic_category().message(reason))));
}

} // namespace

std::expected<std::unique_ptr<QFile>, QString> openPreviewFile(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) {
        return cannotRead(errno);
    }
    auto file = std::make_unique<QFile>();
    if (!file->open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        return cannotRead(EIO);
    }
    struct stat status{};
    if (::fstat(descriptor, &status) != 0) {
        return cannotRead(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return std::unexpected(QString("This is not a regular file and cannot be previewed."));
    }
    return file;
}

std::expected<TextBeginning, QString> readTextBeginning(const std::string& path, qint64 limit) {
    const auto file = openPreviewFile(path);
    if (!file) {
        return std::unexpected(file.error());
    }
    const QByteArray bytes = (*file)->read(limit);
    if ((*file)->error() != QFileDevice::NoError) {
        return cannotRead(EIO);
    }
    TextBeginning beginning;
    beginning.isWhole = bytes.size() < limit || (*file)->atEnd();
    QStringDecoder decoder(
        QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8));
    beginning.text = decoder.decode(bytes);
    beginning.text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
    // All that the text widgets break lines at, so that lines can be counted.
    beginning.text.replace("\r\n", "\n");
    for (const QChar lineBreak :
         {QChar('\r'), QChar(QChar::LineSeparator), QChar(QChar::ParagraphSeparator)}) {
        beginning.text.replace(lineBreak, '\n');
    }
    return beginning;
}

} // namespace peekmend
