#include "Preview.h"
#include "PreviewFile.h"

#include <QFontDatabase>
#include <QImage>
#include <QPlainTextEdit>
#include <QTextBrowser>
#include <QTextDocument>

#include <algorithm>

namespace peekmend {

namespace {

constexpr qint64 textLimit = qint64{1024} * 1024;

/// Formatting costs much more than plain text does, and for some texts the square of their length.
constexpr qint64 markdownLimit = qint64{32} * 1024;

/// Lines are laid out whole, however little of them can be seen.
constexpr qsizetype lineLength = 20'000;
constexpr qsizetype textLines = 50'000;
constexpr qsizetype markdownLines = 4'000;

/// Short rows of a table are filled up to its width, so that a wide one costs the square of its
/// length.
constexpr qsizetype tableColumns = 50;

/// The text as far as it can be laid out in little time; longer lines are broken.
QString bounded(const TextBeginning& beginning, qsizetype lineCount) {
    QString result;
    result.reserve(beginning.text.size());
    qsizetype length = 0;
    qsizetype lines = 0;
    bool isWhole = beginning.isWhole;
    for (const QChar character : beginning.text) {
        if (lines == lineCount) {
            isWhole = false;
            break;
        }
        if (character == '\n') {
            length = 0;
            ++lines;
        } else if (++length > lineLength && !character.isLowSurrogate()) {
            result += '\n';
            length = 1;
            ++lines;
        }
        result += character;
    }
    return isWhole ? result : result + "\n\u2026\n";
}

bool holdsWideTable(const QString& text) {
    const auto lines = QStringView(text).split('\n');
    return std::ranges::any_of(lines,
                               [](QStringView line) { return line.count('|') > tableColumns; });
}

/// A document that shows an empty image for every image and loads nothing. It hands out an image,
/// as the toolkit would try to load the file itself if it got nothing.
class SealedDocument : public QTextDocument {
public:
    using QTextDocument::QTextDocument;

protected:
    QVariant loadResource(int type, const QUrl& /*url*/) override {
        if (type != QTextDocument::ImageResource) {
            return {};
        }
        QImage empty(1, 1, QImage::Format_ARGB32);
        empty.fill(Qt::transparent);
        return empty;
    }
};

} // namespace

std::unique_ptr<QWidget> textContent(const std::string& path) {
    const auto beginning = readTextBeginning(path, textLimit);
    if (!beginning) {
        return messageContent(beginning.error());
    }
    auto view = std::make_unique<QPlainTextEdit>();
    view->setReadOnly(true);
    view->setFrameShape(QFrame::NoFrame);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setPlainText(bounded(*beginning, textLines));
    return view;
}

std::unique_ptr<QWidget> markdownContent(const std::string& path) {
    const auto beginning = readTextBeginning(path, markdownLimit);
    if (!beginning) {
        return messageContent(beginning.error());
    }
    auto view = std::make_unique<QTextBrowser>();
    view->setFrameShape(QFrame::NoFrame);
    view->setOpenLinks(false);
    auto* const document = new SealedDocument(view.get());
    document->setDefaultFont(view->font());
    const QString text = bounded(*beginning, markdownLines);
    if (holdsWideTable(text)) {
        document->setPlainText(text);
    } else {
        document->setMarkdown(
            text, QTextDocument::MarkdownFeatures(QTextDocument::MarkdownDialectGitHub) |
                      QTextDocument::MarkdownNoHTML);
    }
    document->setDocumentMargin(view->fontMetrics().height());
    view->setDocument(document);
    return view;
}

} // namespace peekmend
