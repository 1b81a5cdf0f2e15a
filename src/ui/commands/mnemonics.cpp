#include "ui/commands/mnemonics.h"

#include <QAction>
#include <QSet>
#include <QString>

namespace vorlen {

namespace {

/// Where the key of the text is marked; -1 without one. "&&" is a letter.
int markOf(const QString& text) {
    for (int i = 0; i + 1 < text.size(); ++i)
        if (text[i] == '&') {
            if (text[i + 1] != '&')
                return i;
            ++i;
        }
    return -1;
}

/// The places of the letters, those that begin a word first.
QList<int> placesIn(const QString& text) {
    QList<int> first, others;
    for (int i = 0; i < text.size(); ++i)
        if (text[i].isLetterOrNumber())
            (i == 0 || text[i - 1] == ' ' || text[i - 1] == '[' ? first : others).append(i);
    return first + others;
}

} // namespace

void giveMnemonics(const QList<QAction*>& actions) {
    QSet<QChar> taken;
    for (const QAction* const action : actions)
        if (const int mark = markOf(action->text()); mark >= 0)
            taken.insert(action->text()[mark + 1].toLower());
    for (QAction* const action : actions) {
        const QString text = action->text();
        if (action->isSeparator() || markOf(text) >= 0)
            continue;
        for (const int place : placesIn(text))
            if (const QChar letter = text[place].toLower(); !taken.contains(letter)) {
                taken.insert(letter);
                action->setText(QString(text).insert(place, '&'));
                break;
            }
    }
}

} // namespace vorlen
