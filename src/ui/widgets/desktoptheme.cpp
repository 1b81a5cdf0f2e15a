#include "ui/widgets/desktoptheme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEventLoop>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <QTimer>
#include <QToolTip>

namespace vorlen {

namespace {

const char* const service = "org.freedesktop.portal.Desktop";
const char* const path = "/org/freedesktop/portal/desktop";
const char* const interface = "org.freedesktop.portal.Settings";
const char* const appearance = "org.freedesktop.appearance";
const char* const colorScheme = "color-scheme";
constexpr int longestWait = 300; // milliseconds
constexpr unsigned int prefersDark = 1;

bool isDarkPalette(const QPalette& palette) {
    return qGray(palette.color(QPalette::Window).rgb()) < qGray(palette.color(QPalette::WindowText).rgb());
}

/// The boxes and circles to be checked of "fusion" have outlines darker than a dark window: they are drawn once more,
/// in the colour of the text. Its buttons have no pictures, which are dark.
class DarkStyle : public QProxyStyle {
public:
    DarkStyle() : QProxyStyle("fusion") {}

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_DialogButtonBox_ButtonsHaveIcons ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        const bool isCircle = element == PE_IndicatorRadioButton;
        if (!isCircle && element != PE_IndicatorCheckBox && element != PE_IndicatorItemViewItemCheck)
            return;
        QColor color = option->palette.color(QPalette::WindowText);
        color.setAlpha(140);
        painter->save();
        painter->setPen(color);
        painter->setBrush(Qt::NoBrush);
        const QRectF outline = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        painter->setRenderHint(QPainter::Antialiasing, isCircle);
        if (isCircle)
            painter->drawEllipse(outline);
        else
            painter->drawRect(outline);
        painter->restore();
    }
};

} // namespace

DesktopTheme::DesktopTheme(QObject* parent)
    : QObject(parent), __begun(QApplication::palette()), __begunStyle(QApplication::style()->objectName()) {
}

void DesktopTheme::follow() {
    follow(QDBusConnection::sessionBus());
}

void DesktopTheme::follow(QDBusConnection bus) {
    if (!bus.isConnected())
        return;
    bus.connect(service, path, interface, "SettingChanged", this, SLOT(settingChanged(const QDBusMessage&)));
    ask(bus);
}

void DesktopTheme::ask(const QDBusConnection& bus) {
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, "Read");
    question << QString(appearance) << QString(colorScheme);
    auto* const answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    QEventLoop moment;
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid())
            take(reply.value().variant());
        answer->deleteLater();
    });
    connect(answer, &QDBusPendingCallWatcher::finished, &moment, &QEventLoop::quit);
    QTimer::singleShot(longestWait, &moment, &QEventLoop::quit);
    moment.exec(QEventLoop::ExcludeUserInputEvents);
}

void DesktopTheme::settingChanged(const QDBusMessage& news) {
    const QList<QVariant> what = news.arguments(); // group, key, value
    if (what.size() == 3 && what[0].toString() == appearance && what[1].toString() == colorScheme)
        take(what[2]);
}

/// The answer to a question holds the value in one variant more than the news of a change.
void DesktopTheme::take(const QVariant& scheme) {
    QVariant value = scheme;
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    setDark(value.toUInt() == prefersDark);
}

void DesktopTheme::setDark(bool dark) {
    if (dark == __dark || (dark && isDarkPalette(__begun)))
        return;
    __dark = dark;
    if (dark)
        QApplication::setStyle(new DarkStyle); // the application's
    else
        QApplication::setStyle(__begunStyle);
    const QPalette palette = dark ? darkPalette() : __begun;
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
}

QPalette DesktopTheme::darkPalette() {
    const QColor window(0x2a, 0x2e, 0x33), base(0x20, 0x24, 0x28), text(0xe6, 0xe9, 0xec), faint(0x86, 0x8d, 0x95);
    const QColor accent(0x1d, 0x8f, 0x86), link(0x4f, 0xd1, 0xc5);
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x2a, 0x2f));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x36, 0x3b, 0x41));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x40, 0x47));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Light, QColor(0x4a, 0x50, 0x57));
    palette.setColor(QPalette::Midlight, QColor(0x40, 0x46, 0x4c));
    palette.setColor(QPalette::Mid, QColor(0x24, 0x28, 0x2c));
    palette.setColor(QPalette::Dark, QColor(0x1a, 0x1d, 0x20));
    palette.setColor(QPalette::Shadow, QColor(0x0e, 0x10, 0x12));
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, link);
    palette.setColor(QPalette::LinkVisited, QColor(0xb0, 0x9c, 0xe0));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x45, 0x4b, 0x52));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, QColor(0xb4, 0xba, 0xc0));
    return palette;
}

} // namespace vorlen
