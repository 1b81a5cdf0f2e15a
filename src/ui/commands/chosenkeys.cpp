#include "ui/commands/chosenkeys.h"

#include <QSettings>

#include "ui/commands/command.h"
#include "ui/commands/commandsheet.h"

namespace vorlen {

namespace {

const char* const group = "shortcuts";

QString entryOf(const QString& window, const CommandInfo& info) {
    return QString(group) + '/' + window + '/' + info.id;
}

/// In the one spelling.
QString spelled(const QString& keys) {
    return QKeySequence::listToString(shortcutsOf(keys), QKeySequence::PortableText);
}

} // namespace

ChosenKeys& ChosenKeys::instance() {
    static ChosenKeys keys;
    return keys;
}

QString ChosenKeys::keysOf(const QString& window, const CommandInfo& info) const {
    return window.isEmpty() ? QString(info.keys) : QSettings().value(entryOf(window, info), info.keys).toString();
}

bool ChosenKeys::isChosen(const QString& window, const CommandInfo& info) const {
    return !window.isEmpty() && QSettings().contains(entryOf(window, info));
}

void ChosenKeys::choose(const QString& window, const CommandInfo& info, const QString& keys) {
    if (spelled(keys) == spelled(info.keys))
        QSettings().remove(entryOf(window, info));
    else
        QSettings().setValue(entryOf(window, info), spelled(keys));
    emit changed();
}

void ChosenKeys::reset(const QString& window, const CommandInfo& info) {
    QSettings().remove(entryOf(window, info));
    emit changed();
}

void ChosenKeys::resetAll() {
    QSettings().remove(group);
    emit changed();
}

} // namespace vorlen
