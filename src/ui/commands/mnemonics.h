#pragma once

#include <QList>

class QAction;

namespace vorlen {

/// Gives each action of a menu, or of a menu bar, that has none a key of its own within the menu, marked by "&" in its
/// text: the first letter of a word, else another letter that is left. Actions that have one keep it. Not for texts
/// that are data, such as names.
void giveMnemonics(const QList<QAction*>& actions);

} // namespace vorlen
