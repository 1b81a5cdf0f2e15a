#pragma once

#include <QObject>
#include <QPalette>
#include <QString>

class QDBusConnection;
class QDBusMessage;

namespace vorlen {

/// Light or dark, as the desktop is.
///
/// Qt takes the colours of some desktops by plugins; elsewhere it stays light whatever the desktop says. This asks the
/// settings portal, which all desktops have that know of a preference (group "org.freedesktop.appearance", key
/// "color-scheme": 1 for dark, 2 for light, 0 for none), and follows its changes.
///
/// Decisions: where the colours are dark already, they stay as they are. A desktop that is not dark, or says nothing,
/// gets the colours back that the program began with. The dark colours come with the style Fusion, which is drawn of
/// them alone.
class DesktopTheme : public QObject {
    Q_OBJECT

public:
    explicit DesktopTheme(QObject* parent = nullptr);

    /// Takes what the desktop says, for which it waits a moment, so that no window is seen in other colours first, and
    /// follows it from then on. Nothing without a session bus.
    void follow();
    /// The same over another bus.
    void follow(QDBusConnection bus);

    /// Dark, or as the program began.
    void setDark(bool dark);
    bool isDark() const { return __dark; }

    static QPalette darkPalette();

private slots:
    void settingChanged(const QDBusMessage& news);

private:
    void ask(const QDBusConnection& bus);
    void take(const QVariant& scheme);

    QPalette __begun;
    QString __begunStyle;
    bool __dark = false;
};

} // namespace vorlen
