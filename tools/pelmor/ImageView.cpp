// Drawing an image in the terminal. Qt's GUI module decodes and renders it; an SVG captcha's glyphs need
// fonts, which need a GUI application object, so one is made for the drawing on the "offscreen"
// platform, which needs no display.
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <iostream>
#include <memory>

#include "Terminal.h"

namespace pelmor {

namespace {

QImage Render(const std::string& path, int width) {
    const QString file = QString::fromStdString(path);
    if (file.endsWith(".svg", Qt::CaseInsensitive)) {
        QSvgRenderer svg(file);
        if (!svg.isValid()) return QImage();
        const QSize size = svg.defaultSize().isEmpty() ? QSize(160, 60) : svg.defaultSize();
        QImage image(width, std::max(1, width * size.height() / std::max(1, size.width())),
                     QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        svg.render(&painter);
        return image;
    }
    const QImage image(file);
    return image.isNull() ? image : image.scaledToWidth(width, Qt::SmoothTransformation);
}

void Silent(QtMsgType, const QMessageLogContext&, const QString&) {}

}  // namespace

bool ShowImage(const std::string& path, int width) {
    // Qt's notes about the environment (no runtime directory, font fallbacks) are not the user's concern.
    const QtMessageHandler saved = qInstallMessageHandler(Silent);
    struct Restore {
        QtMessageHandler handler;
        ~Restore() { qInstallMessageHandler(handler); }
    } restore{saved};
    std::unique_ptr<QGuiApplication> application;
    if (!QGuiApplication::instance()) {
        static int argc = 1;
        static char name[] = "pelmor";
        static char* argv[] = {name, nullptr};
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QGuiApplication>(argc, argv);
    }
    const QImage image = Render(path, width);
    if (image.isNull()) return false;
    // Two pixel rows per line: the upper half-block takes the top pixel, the blank the bottom one, with
    // dark pixels drawn as blanks on a light ground so that the picture reads on dark terminals too.
    auto dark = [&](int x, int y) { return y < image.height() && qGray(image.pixel(x, y)) < 128; };
    for (int y = 0; y < image.height(); y += 2) {
        std::string line;
        for (int x = 0; x < image.width(); ++x) {
            const bool top = dark(x, y), bottom = dark(x, y + 1);
            line += top ? (bottom ? " " : "\u2584") : (bottom ? "\u2580" : "\u2588");
        }
        std::cerr << line << '\n';
    }
    std::cerr.flush();
    return true;
}

}  // namespace pelmor
