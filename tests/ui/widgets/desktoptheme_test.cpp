#include "ui/widgets/desktoptheme.h"

#include <algorithm>

#include <QApplication>
#include <QCheckBox>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

const char* const path = "/org/freedesktop/portal/desktop";
const char* const settings = "org.freedesktop.portal.Settings";

/// A bus of its own with a portal that knows of the colours alone.
class Portal : public QDBusVirtualObject {
public:
    Portal() {
        __daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        if (!__daemon.waitForReadyRead(10000))
            return;
        __address = __daemon.readLine().trimmed();
        QDBusConnection own = QDBusConnection::connectToBus(__address, "portal");
        own.registerVirtualObject(path, this);
        own.registerService("org.freedesktop.portal.Desktop");
    }
    ~Portal() override {
        for (const char* name : {"portal", "program"})
            QDBusConnection::disconnectFromBus(name);
        __daemon.kill();
        __daemon.waitForFinished();
    }

    QDBusConnection bus() { return QDBusConnection::connectToBus(__address, "program"); }

    void change(const QString& key, unsigned int value) {
        QDBusMessage news = QDBusMessage::createSignal(path, settings, "SettingChanged");
        news << QString("org.freedesktop.appearance") << key << QVariant::fromValue(QDBusVariant(value));
        QDBusConnection("portal").send(news);
    }

    QString introspect(const QString&) const override { return QString(); }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != "Read" || message.arguments().value(1) != "color-scheme")
            return false;
        const QVariant inner = QVariant::fromValue(QDBusVariant(scheme));
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(inner))));
    }

    unsigned int scheme = 0;

private:
    QProcess __daemon;
    QString __address;
};

bool isDark() {
    const QPalette palette = QApplication::palette();
    return palette.color(QPalette::Base).lightness() < 100 && palette.color(QPalette::Text).lightness() > 150;
}

} // namespace

TEST(DesktopTheme, windowsAreDarkAsLongAsTheDesktopIs) {
    const QPalette before = QApplication::palette();
    ASSERT_FALSE(isDark());
    Portal portal;
    portal.scheme = 1;
    {
        DesktopTheme theme;
        theme.follow(portal.bus());
        EXPECT_TRUE(isDark()); // before any window is seen
        portal.change("color-scheme", 2);
        EXPECT_TRUE(QTest::qWaitFor([] { return !isDark(); }));
        EXPECT_EQ(QApplication::palette(), before);
        portal.change("contrast", 1);
        portal.change("color-scheme", 1);
        EXPECT_TRUE(QTest::qWaitFor([] { return isDark(); }));
        portal.change("color-scheme", 0);
        EXPECT_TRUE(QTest::qWaitFor([] { return !isDark(); }));
    }
    EXPECT_EQ(QApplication::palette(), before);
}

// By the greatest difference of a pixel of the empty box or circle from the window around it.
TEST(DesktopTheme, whatCanBeCheckedIsSeenInTheDark) {
    DesktopTheme theme;
    theme.setDark(true);
    QCheckBox box("");
    QRadioButton button("");
    for (QAbstractButton* const each : {static_cast<QAbstractButton*>(&box), static_cast<QAbstractButton*>(&button)}) {
        each->resize(30, 30);
        const QImage seen = each->grab().toImage();
        int most = 0;
        for (int x = 0; x < seen.width(); ++x)
            most = std::max(most, qGray(seen.pixel(x, 15)) - qGray(seen.pixel(29, 29)));
        EXPECT_GT(most, 60);
    }
    theme.setDark(false);
}

// Where the user's colours are dark already, none of ours take their place.
TEST(DesktopTheme, darkColoursOfTheUserStay) {
    const QPalette before = QApplication::palette();
    QPalette own = before;
    own.setColor(QPalette::Window, QColor(10, 20, 30));
    own.setColor(QPalette::WindowText, QColor(200, 220, 250));
    QApplication::setPalette(own);
    DesktopTheme theme;
    theme.setDark(true);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), QColor(10, 20, 30));
    QApplication::setPalette(before);
}

} // namespace vorlen
