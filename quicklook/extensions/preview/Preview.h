#pragma once

#include <QString>
#include <QWidget>

#include <functional>
#include <memory>
#include <string>

namespace peekmend {

/// Makes what a preview window shows of the file at an absolute path, in the file system's bytes.
/// A file that cannot be shown gives a widget that says so.
using PreviewContent = std::function<std::unique_ptr<QWidget>(const std::string& path)>;

/// The whole of a preview program: shows the file that the one argument names in a window that
/// takes neither the focus nor the user's keys, until the window is closed. Returns the exit
/// status of the program.
[[nodiscard]] int runPreview(int argc, char** argv, const PreviewContent& content);

/// The name of a file as a person reads it: the last part of its path, unreadable bytes replaced.
[[nodiscard]] QString displayName(const std::string& path);

/// A widget that says one sentence.
[[nodiscard]] std::unique_ptr<QWidget> messageContent(const QString& sentence);

/// The beginning of a text, as plain text.
[[nodiscard]] std::unique_ptr<QWidget> textContent(const std::string& path);

/// The beginning of a Markdown text, formatted. HTML in it stays text, and nothing that it refers
/// to is loaded.
[[nodiscard]] std::unique_ptr<QWidget> markdownContent(const std::string& path);

/// An image, scaled down to fit a screen.
[[nodiscard]] std::unique_ptr<QWidget> imageContent(const std::string& path);

/// Name, size, type and modification date of any file or folder.
[[nodiscard]] std::unique_ptr<QWidget> factsContent(const std::string& path);

} // namespace peekmend
