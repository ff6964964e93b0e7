// Draws an SVG icon as a PNG of one size: how the icon theme's pictures are made. Not installed.

#include <QByteArray>
#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

int main(int argumentCount, char** arguments) {
    constexpr int largestSize = 4096;
    const int size = argumentCount == 4 ? QByteArray(arguments[2]).toInt() : 0;
    if (size <= 0 || size > largestSize) {
        std::fputs("Usage: peekmend-icon SVG SIZE PNG\n", stderr);
        return 2;
    }
    QSvgRenderer renderer(QString::fromLocal8Bit(arguments[1]));
    if (!renderer.isValid()) {
        std::fputs("peekmend-icon: the SVG couldn't be read\n", stderr);
        return EXIT_FAILURE;
    }
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    if (!image.save(QString::fromLocal8Bit(arguments[3]), "PNG")) {
        std::fputs("peekmend-icon: the PNG couldn't be written\n", stderr);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
