/// Makes other forms of the drawings: see the usage below. Used by scripts/draw-icons and by the packaging.

#include <array>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <QTemporaryDir>

#include "ui/icons/vrlicons.h"

namespace vorlen {

namespace {

constexpr int xpmSize = 32;

const char* const usage = "Usage: vorlen-drawicons xpm FOLDER         all icons as FOLDER/NAME.xpm, 32 x 32 pixels\n"
                          "       vorlen-drawicons png SVG SIZE FILE  one drawing as a PNG of SIZE x SIZE pixels\n"
                          "       vorlen-drawicons sheet FILE         all icons on light and dark windows, as a PNG\n";

void writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
        throw std::runtime_error("Cannot write " + path.toStdString() + ": " + file.errorString().toStdString());
}

/// The image as XPM source. XPM knows no half transparency: pixels covered by less than a fifth are left out, the
/// others are laid on white and rounded to 4 bits a channel, which keeps the palette within one character a pixel.
QByteArray xpmSource(const QImage& image, const QString& name) {
    const QByteArray symbols(
        ".+@#$%&*=-;>,')!~{]^/(_:<[}|1234567890abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
    std::map<QRgb, char> palette;
    QByteArray rows;
    QByteArray colors;
    for (int y = 0; y < image.height(); y++) {
        QByteArray row;
        for (int x = 0; x < image.width(); x++) {
            const QRgb pixel = image.pixel(x, y);
            const int alpha = qAlpha(pixel);
            if (alpha < 51) {
                row += ' ';
                continue;
            }
            const auto onWhite = [alpha](int channel) {
                return qRound((255 + (channel - 255) * alpha / 255.0) / 17.0) * 17;
            };
            const QRgb color = qRgb(onWhite(qRed(pixel)), onWhite(qGreen(pixel)), onWhite(qBlue(pixel)));
            auto entry = palette.find(color);
            if (entry == palette.end()) {
                if (static_cast<int>(palette.size()) == symbols.size())
                    throw std::runtime_error("Too many colours in " + name.toStdString());
                entry = palette.emplace(color, symbols[static_cast<int>(palette.size())]).first;
                colors += QString("    \"%1 c %2\",\n").arg(QChar(entry->second)).arg(QColor(color).name()).toLatin1();
            }
            row += entry->second;
        }
        rows += "    \"" + row + (y + 1 < image.height() ? "\",\n" : "\"\n");
    }
    QByteArray source = "/* XPM */\nstatic const char* const " + name.toLatin1() + "_xpm[] = {\n";
    source += QString("    \"%1 %2 %3 1\",\n")
                  .arg(image.width())
                  .arg(image.height())
                  .arg(static_cast<int>(palette.size()) + 1)
                  .toLatin1();
    return source + "    \"  c None\",\n" + colors + rows + "};\n";
}

void writeXpms(const QString& folder) {
    if (!QDir().mkpath(folder))
        throw std::runtime_error("Cannot make the folder " + folder.toStdString());
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    palette.setColor(QPalette::WindowText, QColor(0x30, 0x3a, 0x44));
    QGuiApplication::setPalette(palette);
    for (const QString& name : VRLIcons::names()) {
        const QImage image =
            VRLIcons::icon(name).pixmap(QSize(xpmSize, xpmSize), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
        writeFile(folder + '/' + name + ".xpm", xpmSource(image, name));
    }
}

void writePng(const QString& svg, int size, const QString& path) {
    if (size < 1 || size > 4096)
        throw std::runtime_error("The size must be 1 to 4096 pixels");
    QSvgRenderer renderer(svg);
    if (!renderer.isValid())
        throw std::runtime_error("Cannot read the drawing " + svg.toStdString());
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter, QRectF(0, 0, size, size));
    painter.end();
    if (!image.save(path, "PNG"))
        throw std::runtime_error("Cannot write " + path.toStdString());
}

void writeSheet(const QString& path) {
    const QStringList names = VRLIcons::names();
    const int columns = 9;
    const int cell = 112;
    const int rows = (static_cast<int>(names.size()) + columns - 1) / columns;
    const int panel = rows * cell;
    QImage sheet(columns * cell, 2 * panel + 160, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&sheet);
    const std::array<std::array<QColor, 2>, 2> themes = {
        {{QColor(0xf3, 0xf4, 0xf6), QColor(0x1f, 0x23, 0x28)}, {QColor(0x2b, 0x2d, 0x30), QColor(0xec, 0xee, 0xf0)}}};
    int top = 0;
    for (const auto& theme : themes) {
        QPalette palette;
        palette.setColor(QPalette::Window, theme[0]);
        palette.setColor(QPalette::WindowText, theme[1]);
        QGuiApplication::setPalette(palette);
        painter.fillRect(0, top, sheet.width(), panel + 80, theme[0]);
        for (int i = 0; i < names.size(); i++) {
            const QIcon icon = VRLIcons::icon(names[i]);
            const int x = i % columns * cell;
            const int y = top + i / columns * cell;
            painter.drawPixmap(x + 8, y + 8, icon.pixmap(QSize(48, 48), 1.0));
            painter.drawPixmap(x + 64, y + 4, icon.pixmap(QSize(32, 32), 1.0));
            painter.drawPixmap(x + 64, y + 40, icon.pixmap(QSize(24, 24), 1.0));
            painter.drawPixmap(x + 92, y + 44, icon.pixmap(QSize(16, 16), 1.0));
            painter.drawPixmap(x + 8, y + 64, icon.pixmap(QSize(24, 24), 1.0, QIcon::Disabled));
            painter.setPen(theme[1]);
            painter.drawText(QRect(x + 36, y + 66, cell - 38, 20), Qt::AlignLeft, names[i]);
        }
        int x = 8;
        for (const int size : {16, 22, 24, 32, 48, 64}) {
            painter.drawPixmap(x, top + panel + 8, VRLIcons::logo(size));
            x += size + 16;
        }
        top += panel + 80;
    }
    painter.end();
    if (!sheet.save(path, "PNG"))
        throw std::runtime_error("Cannot write " + path.toStdString());
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    const std::vector<QString> arguments(argv + 1, argv + argc);
    const QString command = arguments.empty() ? QString() : arguments[0];
    try {
        if (command == "png" && arguments.size() == 4) {
            writePng(arguments[1], arguments[2].toInt(), arguments[3]);
            return 0;
        }
        if ((command != "xpm" && command != "sheet") || arguments.size() != 2) {
            std::fputs(usage, stderr);
            return 2;
        }
        // Palettes need an application object, and it a session folder, which a build machine may lack.
        const QTemporaryDir sessionFolder;
        if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
            qputenv("XDG_RUNTIME_DIR", sessionFolder.path().toLocal8Bit());
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication application(argc, argv);
        if (command == "xpm")
            writeXpms(arguments[1]);
        else
            writeSheet(arguments[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vorlen-drawicons: %s\n", error.what());
        return 1;
    }
    return 0;
}
