#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <expected>
#include <memory>
#include <string>

namespace peekmend {

/// Opens a regular file for reading. Nothing else is waited for: a pipe, a device or a folder is
/// an error. Fails with a sentence for the user.
[[nodiscard]] std::expected<std::unique_ptr<QFile>, QString>
openPreviewFile(const std::string& path);

/// The beginning of a file as text.
struct TextBeginning {
    QString text;
    bool isWhole = true;
};

/// Reads at most `limit` bytes of text, in UTF-8 or in the UTF form that the file's byte order
/// mark says; what cannot be decoded is replaced. Fails like `openPreviewFile`.
[[nodiscard]] std::expected<TextBeginning, QString> readTextBeginning(const std::string& path,
                                                                      qint64 limit);

} // namespace peekmend
