#pragma once

#include <QObject>
#include <QString>

namespace vorlen {

struct CommandInfo;

/// The keys that the user has given to commands in place of those of their sheets. Kept in the settings, by the window
/// and the id of the command; open windows hear of a change and follow at once.
///
/// Keys are lists as those of CommandInfo, in the spelling that does not depend on the desktop.
class ChosenKeys : public QObject {
    Q_OBJECT

public:
    static ChosenKeys& instance();

    /// Those that the user has chosen, which may be none, or else those of the sheet.
    QString keysOf(const QString& window, const CommandInfo& info) const;

    bool isChosen(const QString& window, const CommandInfo& info) const;

    /// The sheet's own keys are no choice.
    void choose(const QString& window, const CommandInfo& info, const QString& keys);

    void reset(const QString& window, const CommandInfo& info);
    void resetAll();

signals:
    void changed();

private:
    ChosenKeys() = default;
};

} // namespace vorlen
