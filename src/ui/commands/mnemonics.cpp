#include "ui/commands/mnemonics.h"

#include <utility>

#include <QAction>
#include <QHash>
#include <QList>
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

/// Letters for texts, as many as can have one: a text that finds its letters taken makes another one move to its next.
class Letters {
public:
    Letters(const QList<QString>& texts, QSet<QChar> taken)
        : __texts(texts), __places(texts.size(), -1), __taken(std::move(taken)) {
        for (int i = 0; i < texts.size(); ++i) {
            QSet<QChar> tried = __taken;
            find(i, tried);
        }
    }

    /// -1 for none.
    int placeOf(int i) const { return __places[i]; }

private:
    bool find(int i, QSet<QChar>& tried) {
        for (const bool moves : {false, true})
            for (const int place : placesIn(__texts[i])) {
                const QChar letter = __texts[i][place].toLower();
                const int owner = __owners.value(letter, -1);
                if (tried.contains(letter) || (owner >= 0) != moves)
                    continue;
                tried.insert(letter);
                if (owner >= 0 && !find(owner, tried))
                    continue;
                __owners[letter] = i;
                __places[i] = place;
                return true;
            }
        return false;
    }

    const QList<QString>& __texts;
    QList<int> __places;
    QHash<QChar, int> __owners;
    QSet<QChar> __taken;
};

} // namespace

void giveMnemonics(const QList<QAction*>& actions) {
    QSet<QChar> taken;
    QList<QAction*> without;
    QList<QString> texts;
    for (QAction* const action : actions) {
        if (const int mark = markOf(action->text()); mark >= 0) {
            taken.insert(action->text()[mark + 1].toLower());
        } else if (!action->isSeparator()) {
            without.append(action);
            texts.append(action->text());
        }
    }
    const Letters letters(texts, taken);
    for (int i = 0; i < without.size(); ++i)
        if (const int place = letters.placeOf(i); place >= 0)
            without[i]->setText(QString(texts[i]).insert(place, '&'));
}

} // namespace vorlen
