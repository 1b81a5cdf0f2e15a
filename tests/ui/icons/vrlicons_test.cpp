#include "ui/icons/vrlicons.h"

#include <cmath>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QToolButton>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// What the program's commands and windows ask for.
const QStringList usedNames = {"filenew",
                               "fileopen",
                               "filesave",
                               "fileclose",
                               "panorama",
                               "plainview",
                               "overview",
                               "undo",
                               "redo",
                               "text",
                               "textplus",
                               "bottom",
                               "top",
                               "up",
                               "down",
                               "registration",
                               "threedimensions",
                               "zoomin",
                               "zoomout",
                               "zoomfit",
                               "panUp",
                               "panDown",
                               "panRight",
                               "panLeft",
                               "modebg",
                               "modefg",
                               "modebgfg",
                               "movepoints",
                               "insertpoints",
                               "deletepoints",
                               "home",
                               "camera",
                               "dice",
                               "video",
                               "left",
                               "right",
                               "eye",
                               "eyeclosed",
                               "lock",
                               "lockopen",
                               "toolselect",
                               "tooldraw",
                               "toolautomatic",
                               "toolwire",
                               "toolbrush",
                               "toolmove",
                               "toolsplit",
                               "tooljoin",
                               "toolsnake",
                               "toolmeasure"};

QPalette theme(const QColor& window, const QColor& text, const QColor& highlightedText = Qt::white) {
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::HighlightedText, highlightedText);
    return palette;
}

QPalette lightTheme() {
    return theme(QColor(0xef, 0xef, 0xef), QColor(0x20, 0x20, 0x20));
}

QPalette darkTheme() {
    return theme(QColor(0x2b, 0x2d, 0x30), QColor(0xee, 0xee, 0xee));
}

/// Relative luminance, 0 to 1, as the web accessibility guidelines define it.
double luminance(QRgb color) {
    const auto linear = [](int channel) {
        const double c = channel / 255.0;
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) + 0.0722 * linear(qBlue(color));
}

QImage drawn(const QIcon& icon, int size, double density = 1.0, QIcon::Mode mode = QIcon::Normal) {
    return icon.pixmap(QSize(size, size), density, mode).toImage().convertToFormat(QImage::Format_ARGB32);
}

/// Number of pixels that are at least half covered.
int ink(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); y++) {
        for (int x = 0; x < image.width(); x++) {
            count += qAlpha(image.pixel(x, y)) >= 128 ? 1 : 0;
        }
    }
    return count;
}

/// Mean contrast ratio, 1 to 21, of the pixels of full cover against the window's colour.
double contrast(const QImage& image, const QColor& window) {
    const double ground = luminance(window.rgb());
    double sum = 0.0;
    int count = 0;
    for (int y = 0; y < image.height(); y++) {
        for (int x = 0; x < image.width(); x++) {
            if (qAlpha(image.pixel(x, y)) > 240) {
                const double pixel = luminance(image.pixel(x, y));
                sum += (std::max(pixel, ground) + 0.05) / (std::min(pixel, ground) + 0.05);
                count++;
            }
        }
    }
    return count > 0 ? sum / count : 0.0;
}

class Icons : public ::testing::Test {
protected:
    void SetUp() override { QApplication::setPalette(lightTheme()); }
    void TearDown() override { QApplication::setPalette(__before); }

private:
    QPalette __before = QApplication::palette();
};

} // namespace

TEST_F(Icons, everyUsedNameIsDrawnAndEveryDrawingIsUsed) {
    QStringList used = usedNames;
    used.sort();
    QStringList present = VRLIcons::names();
    present.sort();
    EXPECT_EQ(present.join(' ').toStdString(), used.join(' ').toStdString());
}

TEST_F(Icons, everyIconFillsItsSquareAtEachSizeAndDensity) {
    for (const QString& name : usedNames) {
        const QIcon icon = VRLIcons::icon(name);
        ASSERT_FALSE(icon.isNull()) << name.toStdString();
        for (const int size : {16, 24, 32}) {
            for (const int density : {1, 2}) {
                SCOPED_TRACE(name.toStdString() + " " + std::to_string(size) + " x " + std::to_string(density));
                const QPixmap pixmap = icon.pixmap(QSize(size, size), density);
                ASSERT_EQ(pixmap.size(), QSize(size * density, size * density));
                EXPECT_EQ(pixmap.devicePixelRatio(), density);
                const QImage image = drawn(icon, size, density);
                const double share = static_cast<double>(ink(image)) / (image.width() * image.height());
                EXPECT_GT(share, 0.04);
                EXPECT_LT(share, 0.6);
                // Nothing is cut off: strokes end inside the square.
                const QImage large = drawn(icon, 128);
                for (int i = 0; i < 128; i++) {
                    EXPECT_EQ(qAlpha(large.pixel(i, 0)) + qAlpha(large.pixel(i, 127)) + qAlpha(large.pixel(0, i)) +
                                  qAlpha(large.pixel(127, i)),
                              0);
                }
            }
        }
    }
}

TEST_F(Icons, noTwoIconsLookAlikeAtTheToolBarsSize) {
    for (int i = 0; i < usedNames.size(); i++) {
        const QImage first = drawn(VRLIcons::icon(usedNames[i]), 24);
        for (int j = i + 1; j < usedNames.size(); j++) {
            const QImage second = drawn(VRLIcons::icon(usedNames[j]), 24);
            int different = 0;
            for (int p = 0; p < 24 * 24; p++) {
                const int gap = qAlpha(first.pixel(p % 24, p / 24)) - qAlpha(second.pixel(p % 24, p / 24));
                different += std::abs(gap) > 100 ? 1 : 0;
            }
            EXPECT_GE(different, 12) << usedNames[i].toStdString() << " and " << usedNames[j].toStdString();
        }
    }
}

// 3 is the least ratio that the accessibility guidelines ask of graphics; the strokes have far more.
TEST_F(Icons, standOutAgainstLightAndDarkWindowsAndPaleWhenDisabled) {
    for (const QPalette& palette : {lightTheme(), darkTheme()}) {
        QApplication::setPalette(palette);
        const QColor window = palette.color(QPalette::Window);
        for (const QString& name : usedNames) {
            SCOPED_TRACE(name.toStdString() + " on " + window.name().toStdString());
            const QIcon icon = VRLIcons::icon(name);
            const double normal = contrast(drawn(icon, 64), window);
            const double disabled = contrast(drawn(icon, 64, 1.0, QIcon::Disabled), window);
            EXPECT_GT(normal, 3.0);
            EXPECT_LT(disabled, 0.6 * normal);
            EXPECT_GT(disabled, 1.2);
        }
    }
}

TEST_F(Icons, anIconInUseFollowsAChangeOfTheme) {
    QToolButton button;
    button.setIcon(VRLIcons::icon("undo"));
    button.setIconSize(QSize(24, 24));
    button.setAutoRaise(true);
    button.resize(40, 40);
    button.show();
    const auto extremes = [&button] {
        const QImage image = button.grab().toImage();
        int low = 255;
        int high = 0;
        for (int y = 8; y < 32; y++) {
            for (int x = 8; x < 32; x++) {
                low = std::min(low, qGray(image.pixel(x, y)));
                high = std::max(high, qGray(image.pixel(x, y)));
            }
        }
        return std::pair(low, high);
    };
    const auto [lightLow, lightHigh] = extremes();
    EXPECT_LT(lightLow, 0x30);
    EXPECT_GT(lightHigh, 0xe0);
    QApplication::setPalette(darkTheme());
    QApplication::processEvents();
    const auto [darkLow, darkHigh] = extremes();
    EXPECT_LT(darkLow, 0x38);
    EXPECT_GT(darkHigh, 0xe0);
    const QImage dark = drawn(button.icon(), 24);
    EXPECT_GT(qGray(dark.pixel(3, 8)), 0xe0) << "the arrow's point is drawn in the dark theme's text colour";
}

TEST_F(Icons, aSelectedIconTakesTheColourOfSelectedText) {
    QApplication::setPalette(theme(Qt::white, Qt::black, QColor(0xff, 0xee, 0x11)));
    const QImage image = drawn(VRLIcons::icon("filesave"), 64, 1.0, QIcon::Selected);
    for (int y = 0; y < 64; y++) {
        for (int x = 0; x < 64; x++) {
            if (qAlpha(image.pixel(x, y)) == 255) {
                const QRgb pixel = image.pixel(x, y);
                ASSERT_NEAR(qRed(pixel), 0xff, 2);
                ASSERT_NEAR(qGreen(pixel), 0xee, 2);
                ASSERT_NEAR(qBlue(pixel), 0x11, 2);
            }
        }
    }
    EXPECT_GT(ink(image), 100);
}

TEST_F(Icons, aPaintedIconIsCentredAndKeepsItsShape) {
    QImage image(96, 32, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    VRLIcons::icon("dice").paint(&painter, QRect(0, 0, 96, 32));
    painter.end();
    EXPECT_EQ(ink(image.copy(0, 0, 32, 32)), 0);
    EXPECT_EQ(ink(image.copy(64, 0, 32, 32)), 0);
    EXPECT_NEAR(ink(image.copy(32, 0, 32, 32)), ink(drawn(VRLIcons::icon("dice"), 32)), 8);
}

TEST_F(Icons, longNamesMeanTheSameAndUnknownNamesGiveANullIcon) {
    EXPECT_EQ(drawn(VRLIcons::icon("fileopen_xpm"), 32), drawn(VRLIcons::icon("fileopen"), 32));
    for (const char* name : {"", "_xpm", "nothing", "logo", "FILEOPEN", "fileopen.svg", "../icons/undo", "*"}) {
        EXPECT_TRUE(VRLIcons::icon(name).isNull()) << name;
    }
    EXPECT_TRUE(VRLIcons::icon("undo").pixmap(QSize(0, 0)).isNull());
}

TEST_F(Icons, theLogoIsTheSameInAllThemesAndLeavesItsCornersFree) {
    const QImage light = drawn(VRLIcons::logo(), 64);
    for (const int size : {16, 48, 256}) {
        const QImage image = VRLIcons::logo(size).toImage();
        ASSERT_EQ(image.size(), QSize(size, size));
        EXPECT_GT(ink(image), size * size / 3);
        EXPECT_EQ(qAlpha(image.pixel(0, 0)) + qAlpha(image.pixel(size - 1, size - 1)), 0);
    }
    QApplication::setPalette(darkTheme());
    EXPECT_EQ(drawn(VRLIcons::logo(), 64), light);
    EXPECT_EQ(drawn(VRLIcons::logo(), 64), drawn(VRLIcons::logo(), 64, 1.0, QIcon::Disabled));
    EXPECT_TRUE(VRLIcons::logo(0).isNull());
    EXPECT_TRUE(VRLIcons::logo(-3).isNull());
}

// The XPM files are made by scripts/draw-icons and must be made again when a drawing changes. Each rounds the drawing
// on white to 4 bits a channel (8.5 of 255, and a few more for a different renderer's antialiasing).
TEST_F(Icons, xpmFilesShowTheirDrawings) {
    QApplication::setPalette(theme(Qt::white, QColor(0x30, 0x3a, 0x44)));
    for (const QString& name : usedNames) {
        SCOPED_TRACE(name.toStdString());
        const QImage xpm(QString(XPM_FOLDER) + '/' + name + ".xpm", "XPM");
        ASSERT_EQ(xpm.size(), QSize(32, 32));
        QImage expected(32, 32, QImage::Format_RGB32);
        expected.fill(Qt::white);
        QPainter painter(&expected);
        painter.drawImage(0, 0, drawn(VRLIcons::icon(name), 32));
        painter.end();
        QImage shown(32, 32, QImage::Format_RGB32);
        shown.fill(Qt::white);
        painter.begin(&shown);
        painter.drawImage(0, 0, xpm);
        painter.end();
        int different = 0;
        for (int y = 0; y < 32; y++) {
            for (int x = 0; x < 32; x++) {
                const bool leftOut = qAlpha(xpm.pixel(x, y)) == 0;
                different += std::abs(qGray(shown.pixel(x, y)) - qGray(expected.pixel(x, y))) > (leftOut ? 52 : 12);
            }
        }
        EXPECT_LE(different, 5);
        EXPECT_GT(ink(xpm), 60);
    }
}

} // namespace vorlen
