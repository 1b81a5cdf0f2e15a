#include "ui/icons/vrlicons.h"

#include <algorithm>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

// A static library's resources are dropped by the linker unless something names them. Outside every namespace, as the
// macro demands.
static void loadIconResources() {
    Q_INIT_RESOURCE(icons);
}

namespace vorlen {

namespace {

// The two colours in which the drawings stand; both are replaced when an icon is drawn.
const QByteArray strokeToken("#303a44");
const QByteArray accentToken("#0c8f86");
const QColor lightThemeAccent(0x0c, 0x8f, 0x86);
const QColor darkThemeAccent(0x4f, 0xd1, 0xc5);

constexpr double disabledStrength = 0.38;

struct Colors {
    QColor stroke;
    QColor accent;
};

QColor blended(const QColor& from, const QColor& to, double share) {
    const auto mix = [share](int a, int b) { return qRound(a + (b - a) * share); };
    return QColor(mix(from.red(), to.red()), mix(from.green(), to.green()), mix(from.blue(), to.blue()));
}

Colors colorsOf(const QPalette& palette, QIcon::Mode mode) {
    const QColor window = palette.color(QPalette::Active, QPalette::Window);
    const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
    const QColor accent = qGray(window.rgb()) < qGray(text.rgb()) ? darkThemeAccent : lightThemeAccent;
    if (mode == QIcon::Disabled)
        return {blended(window, text, disabledStrength), blended(window, accent, disabledStrength)};
    if (mode == QIcon::Selected) {
        const QColor highlighted = palette.color(QPalette::Active, QPalette::HighlightedText);
        return {highlighted, highlighted};
    }
    return {text, accent};
}

QByteArray readResource(const QString& fileName) {
    loadIconResources();
    QFile file(":/vorlen/icons/" + fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QSize square(const QSize& size) {
    const int side = std::max(0, std::min(size.width(), size.height()));
    return QSize(side, side);
}

QPixmap rendered(const QByteArray& svg, const QSize& size) {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(svg).render(&painter, QRectF(QPointF(0, 0), size));
    return pixmap;
}

/// Draws one SVG; with the palette's colours when it is a command's icon, as it stands when it is the logo.
class SvgIconEngine : public QIconEngine {
public:
    SvgIconEngine(const QString& name, const QByteArray& svg, bool followsPalette)
        : __name(name), __svg(svg), __followsPalette(followsPalette) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        QRect target(QPoint(0, 0), square(rect.size()));
        target.moveCenter(rect.center());
        QSvgRenderer(colored(mode)).render(painter, target);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        const QSize pixels = square(size);
        if (pixels.isEmpty())
            return QPixmap();
        QString key = QString("vorlen-icon/%1/%2").arg(__name).arg(pixels.width());
        if (__followsPalette) {
            const Colors colors = colorsOf(QGuiApplication::palette(), mode);
            key += '/' + colors.stroke.name() + colors.accent.name();
        }
        QPixmap found;
        if (!QPixmapCache::find(key, &found)) {
            found = rendered(colored(mode), pixels);
            QPixmapCache::insert(key, found);
        }
        return found;
    }

    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return square(size); }

    QString key() const override { return "vorlen"; }

    QString iconName() override { return __name; }

    QIconEngine* clone() const override { return new SvgIconEngine(*this); }

private:
    QByteArray colored(QIcon::Mode mode) const {
        if (!__followsPalette)
            return __svg;
        const Colors colors = colorsOf(QGuiApplication::palette(), mode);
        QByteArray result = __svg;
        result.replace(strokeToken, "#stroke");
        result.replace(accentToken, colors.accent.name().toLatin1());
        result.replace("#stroke", colors.stroke.name().toLatin1());
        return result;
    }

    QString __name;
    QByteArray __svg;
    bool __followsPalette;
};

} // namespace

QIcon VRLIcons::icon(const QString& name) {
    QString plain = name;
    if (plain.endsWith("_xpm"))
        plain.chop(4);
    if (!names().contains(plain))
        return QIcon();
    return QIcon(new SvgIconEngine(plain, readResource(plain + ".svg"), true));
}

QStringList VRLIcons::names() {
    static const QStringList all = [] {
        loadIconResources();
        QStringList found = QDir(":/vorlen/icons").entryList({"*.svg"}, QDir::Files, QDir::Name);
        found.removeAll("logo.svg");
        found.replaceInStrings(".svg", "");
        return found;
    }();
    return all;
}

QPixmap VRLIcons::logo(int size) {
    return logo().pixmap(QSize(size, size), 1.0);
}

QIcon VRLIcons::logo() {
    return QIcon(new SvgIconEngine("logo", readResource("logo.svg"), false));
}

} // namespace vorlen
