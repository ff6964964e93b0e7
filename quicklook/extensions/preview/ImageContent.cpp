#include "Preview.h"
#include "PreviewFile.h"

#include <QGuiApplication>
#include <QImageReader>
#include <QLabel>
#include <QPixmap>
#include <QScreen>

#include <algorithm>
#include <array>

namespace peekmend {

namespace {

/// What a decoded image may take, in MiB.
constexpr int memoryLimit = 512;

/// Pixels alone: formats that can refer to other files are not among them.
constexpr std::array imageFormats{"png", "jpeg", "gif", "bmp", "ico",
                                  "pbm", "pgm",  "ppm", "xbm", "xpm"};

} // namespace

std::unique_ptr<QWidget> imageContent(const std::string& path) {
    const auto file = openPreviewFile(path);
    if (!file) {
        return messageContent(file.error());
    }
    QImageReader::setAllocationLimit(memoryLimit);
    const QByteArray format = QImageReader::imageFormat(file->get());
    if (std::ranges::none_of(imageFormats, [&](const char* known) { return format == known; })) {
        return messageContent("This is no image of a kind that can be shown here.");
    }
    QImageReader reader(file->get(), format);
    reader.setAutoTransform(true);
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const qreal pixelRatio = screen->devicePixelRatio();
    const QSize largest = screen->availableSize() * pixelRatio * 3 / 4;
    const QSize size = reader.size();
    if (size.isValid() && (size.width() > largest.width() || size.height() > largest.height())) {
        reader.setScaledSize(size.scaled(largest, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    }
    QImage image = reader.read();
    if (image.isNull()) {
        return messageContent("This image is damaged or too large to be shown.");
    }
    image.setDevicePixelRatio(pixelRatio);
    auto label = std::make_unique<QLabel>();
    label->setAlignment(Qt::AlignCenter);
    label->setPixmap(QPixmap::fromImage(image));
    return label;
}

} // namespace peekmend
