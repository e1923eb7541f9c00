#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdlib>

/// Draws an SVG into a square PNG: SOURCE SIZE TARGET.
int main(int argc, char* argv[]) {
    if (argc != 4)
        return 2;
    QSvgRenderer source(QFile::decodeName(argv[1]));
    const int size = std::atoi(argv[2]);
    const QString target = QFile::decodeName(argv[3]);
    if (!source.isValid() || size <= 0)
        return 1;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    source.render(&painter);
    painter.end();
    return QDir().mkpath(QFileInfo(target).path()) && image.save(target, "PNG") ? 0 : 1;
}
