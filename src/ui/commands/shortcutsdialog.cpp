#include "ui/commands/shortcutsdialog.h"

#include <algorithm>
#include <functional>
#include <initializer_list>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "ui/commands/chosenkeys.h"
#include "ui/commands/command.h"
#include "ui/icons/vrlicons.h"

namespace vorlen {

namespace {

enum Column { TextColumn, KeysColumn, TipColumn };

/// What a row is found by, in lower case.
constexpr int searchRole = Qt::UserRole;

/// The keys of a shortcut as they are labelled: {"Ctrl", "Shift", "Z"}.
QStringList capsOf(const QKeySequence& keys) {
    QStringList caps;
    const Qt::KeyboardModifiers modifiers = keys[0].keyboardModifiers();
    if (modifiers & Qt::ControlModifier)
        caps += "Ctrl";
    if (modifiers & Qt::AltModifier)
        caps += "Alt";
    if (modifiers & Qt::ShiftModifier)
        caps += "Shift";
    const Qt::Key key = keys[0].key();
    const QString arrows[] = {QChar(0x2190), QChar(0x2191), QChar(0x2192), QChar(0x2193)};
    const bool arrow = key >= Qt::Key_Left && key <= Qt::Key_Down;
    caps += arrow ? arrows[key - Qt::Key_Left] : QKeySequence(key).toString(QKeySequence::NativeText);
    return caps;
}

QColor blended(const QColor& a, const QColor& b, double share) {
    const auto mix = [share](int x, int y) { return int(x + share * (y - x)); };
    return {mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue())};
}

/// Headings in bold over a band or a line, keys as the caps of a keyboard, tips in a paler ink.
class RowPainter : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.setHeight(option.fontMetrics.height() + (depth(index) == 0 ? 14 : 10));
        if (index.column() == KeysColumn)
            size.setWidth(paintKeys(nullptr, option, index) + 2 * margin);
        return size;
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        if (depth(index) == 0)
            painter->fillRect(
                option.rect, blended(option.palette.color(QPalette::Base), option.palette.color(QPalette::Text), 0.07));
        QStyledItemDelegate::paint(painter, option, index);
        if (index.column() == KeysColumn) {
            painter->save();
            painter->setRenderHint(QPainter::Antialiasing);
            paintKeys(painter, option, index);
            painter->restore();
        }
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->state &= ~QStyle::State_HasFocus; // the row is marked, not its cell
        if (index.column() == KeysColumn)
            option->text.clear();
        else if (index.column() == TipColumn)
            option->palette.setColor(QPalette::Text, blended(option->palette.color(QPalette::Text),
                                                             option->palette.color(QPalette::Base), 0.35));
    }

private:
    static constexpr int margin = 6;

    static int depth(const QModelIndex& index) {
        return index.model()->hasChildren(index.siblingAtColumn(0)) ? (index.parent().isValid() ? 1 : 0) : 2;
    }

    /// Without a painter only measures. Returns the width.
    static int paintKeys(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) {
        const QFontMetrics& metrics = option.fontMetrics;
        const int height = metrics.height() + 3;
        int x = option.rect.left() + margin;
        const int y = option.rect.center().y() - height / 2;
        const bool selected = option.state.testFlag(QStyle::State_Selected);
        const QColor ink = option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
        const QColor ground = option.palette.color(selected ? QPalette::Highlight : QPalette::Base);
        bool first = true;
        for (const QKeySequence& keys : shortcutsOf(index.data().toString())) {
            if (!first) {
                const QRect word(x, y, metrics.horizontalAdvance("or"), height);
                if (painter != nullptr) {
                    painter->setPen(blended(ink, ground, 0.35));
                    painter->drawText(word, Qt::AlignCenter, "or");
                }
                x = word.right() + margin;
            }
            first = false;
            for (const QString& cap : capsOf(keys)) {
                const QRect place(x, y, std::max(height, metrics.horizontalAdvance(cap) + 12), height);
                if (painter != nullptr) {
                    painter->setPen(blended(ink, ground, 0.6));
                    painter->setBrush(blended(ground, ink, 0.05));
                    painter->drawRoundedRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
                    painter->setPen(ink);
                    painter->drawText(place, Qt::AlignCenter, cap);
                }
                x = place.right() + 4;
            }
            x += margin - 4;
        }
        return x - option.rect.left();
    }
};

/// Takes one key with its modifiers, at once: what is pressed next begins anew.
class OneKeyEdit : public QKeySequenceEdit {
public:
    using QKeySequenceEdit::QKeySequenceEdit;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        QKeySequenceEdit::keyPressEvent(event);
        const QKeySequence typed = keySequence();
        if (typed.isEmpty()) // modifiers alone
            return;
        setKeySequence(typed); // ends the waiting for a second one
        emit keySequenceChanged(typed);
    }
};

/// A tree that is read only: nothing folds.
class CommandTree : public QTreeWidget {
public:
    using QTreeWidget::QTreeWidget;

protected:
    void drawBranches(QPainter*, const QRect&, const QModelIndex&) const override {}
};

/// Stands where a command has no icon, so that the texts stand in line.
QIcon emptyIcon(QSize size) {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    return {pixmap};
}

/// Internal names in brackets, as "[stepUp]", in words.
QString readable(QString text) {
    if (!text.startsWith('[') || !text.endsWith(']'))
        return text.remove('&');
    text = text.mid(1, text.size() - 2);
    text.replace(QRegularExpression("(?<=[a-z])(?=[A-Z])"), " ");
    return text.left(1).toUpper() + text.mid(1).toLower();
}

/// In the row of a command, which is found by them; bold where they are the user's choice.
void showKeys(QTreeWidgetItem& row, const QString& keys, bool chosen) {
    row.setText(KeysColumn, keys);
    QFont font = row.treeWidget()->font();
    font.setBold(chosen);
    row.setFont(TextColumn, font);
    QStringList words = {row.text(TextColumn), keys, row.text(TipColumn)};
    for (const QTreeWidgetItem* above = row.parent(); above != nullptr; above = above->parent())
        words += above->text(TextColumn);
    row.setData(TextColumn, searchRole, words.join('\n').toLower());
}

} // namespace

/// A command of a sheet, which the list shows or not.
struct ShortcutsDialog::Entry {
    QString window; // of the sheet
    QString scope;  // the window in which its keys are unique
    CommandInfo info;
    QTreeWidgetItem* row = nullptr;

    QString keys() const { return ChosenKeys::instance().keysOf(window, info); }
    QString name() const { return readable(info.text); }
};

ShortcutsDialog::~ShortcutsDialog() = default;

ShortcutsDialog::ShortcutsDialog(QWidget* parent) : QDialog(parent) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Keyboard shortcuts");
    __search = new QLineEdit(this);
    __search->setPlaceholderText("Search a command, a menu, or a key such as Ctrl+S");
    __search->setClearButtonEnabled(true);
    __search->setAccessibleName("Search");
    __withKeys = new QCheckBox("With keys only", this);
    __withKeys->setToolTip("Leave out the commands that have no key");

    __list = new CommandTree(this);
    __list->setAccessibleName("Commands");
    __list->setHeaderLabels({"Command", "Keys", "What it does"});
    __list->setItemDelegate(new RowPainter(__list));
    __list->setRootIsDecorated(false);
    __list->setItemsExpandable(false);
    __list->setIndentation(16);
    __list->setIconSize({16, 16});
    __list->setAllColumnsShowFocus(true);
    __list->header()->setSectionsMovable(false);
    __list->header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);

    __count = new QLabel(this);
    __count->setTextFormat(Qt::PlainText);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    for (QAbstractButton* button : buttons->buttons())
        static_cast<QPushButton*>(button)->setAutoDefault(false); // Return in the search closes nothing
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(__search, &QLineEdit::textChanged, this, &ShortcutsDialog::applyFilter);
    connect(__withKeys, &QCheckBox::toggled, this, &ShortcutsDialog::applyFilter);

    auto* const top = new QHBoxLayout;
    top->setSpacing(12);
    top->addWidget(__search, 1);
    top->addWidget(__withKeys);
    auto* const bottom = new QHBoxLayout;
    bottom->addWidget(__count, 1);
    bottom->addWidget(buttons);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(__list, 1);
    layout->addLayout(newEditor());
    layout->addLayout(bottom);
    resize(860, 720);
    connect(__list, &QTreeWidget::currentItemChanged, this, &ShortcutsDialog::showCurrent);
    connect(&ChosenKeys::instance(), &ChosenKeys::changed, this, &ShortcutsDialog::keysChanged);
    showCurrent();
}

QLayout* ShortcutsDialog::newEditor() {
    const auto button = [this](const char* text, const char* name, const QString& toolTip) {
        auto* const made = new QPushButton(text, this);
        made->setObjectName(name);
        made->setToolTip(toolTip);
        made->setAutoDefault(false);
        return made;
    };
    __name = new QLabel(this);
    __name->setTextFormat(Qt::PlainText);
    __key = new OneKeyEdit(this);
    __key->setAccessibleName("New key");
    __key->setToolTip("Press the new key here");
    __change = button("Change", "shortcut.change", "Give this key to the command");
    __none = button("No key", "shortcut.none", "Leave the command without a key");
    __own = button("Reset", "shortcut.reset", "Give the command its own keys again");
    __allOwn = button("Reset all", "shortcut.resetAll", "Give all commands their own keys again");
    __conflict = new QLabel(this);
    __conflict->setTextFormat(Qt::PlainText);
    __conflict->setWordWrap(true);
    __conflict->setObjectName("shortcut.conflict");
    connect(__key, &QKeySequenceEdit::keySequenceChanged, this, &ShortcutsDialog::keyTyped);
    connect(
        __change, &QPushButton::clicked, this, [this] { change(__key->keySequence()); });
    connect(
        __none, &QPushButton::clicked, this, [this] { change(QKeySequence()); });
    connect(
        __own, &QPushButton::clicked, this,
        [this] {
            if (const Entry* const entry = current())
                ChosenKeys::instance().reset(entry->window, entry->info);
        });
    connect(__allOwn, &QPushButton::clicked, this, [] { ChosenKeys::instance().resetAll(); });
    auto* const row = new QHBoxLayout;
    row->addWidget(__name, 1);
    for (QWidget* part : std::initializer_list<QWidget*>{__key, __change, __none, __own, __allOwn})
        row->addWidget(part);
    auto* const editor = new QVBoxLayout;
    editor->addLayout(row);
    editor->addWidget(__conflict);
    return editor;
}

/// That of the row that is marked and shown; null without one.
const ShortcutsDialog::Entry* ShortcutsDialog::current() const {
    for (const auto& entry : __entries)
        if (entry->row != nullptr && entry->row == __list->currentItem() && !entry->row->isHidden())
            return entry.get();
    return nullptr;
}

QList<const ShortcutsDialog::Entry*> ShortcutsDialog::usersOf(const QKeySequence& key, const Entry& but) const {
    QList<const Entry*> users;
    for (const auto& entry : __entries)
        if (entry.get() != &but && entry->scope == but.scope && !key.isEmpty() &&
            shortcutsOf(entry->keys()).contains(key))
            users.append(entry.get());
    return users;
}

void ShortcutsDialog::showCurrent() {
    const Entry* const entry = current();
    __name->setText(entry != nullptr ? "Key of \"" + entry->name() + "\":" : "Mark a command to change its key.");
    __key->setEnabled(entry != nullptr);
    const auto keys = shortcutsOf(entry != nullptr ? entry->keys() : QString());
    {
        const QSignalBlocker blocker(__key);
        __key->setKeySequence(keys.isEmpty() ? QKeySequence() : keys[0]);
    }
    keyTyped();
}

void ShortcutsDialog::keyTyped() {
    const QKeySequence key = __key->keySequence();
    const Entry* const entry = current();
    const auto keys = shortcutsOf(entry != nullptr ? entry->keys() : QString());
    __change->setEnabled(entry != nullptr && !key.isEmpty() && !keys.contains(key));
    __none->setEnabled(!keys.isEmpty());
    __own->setEnabled(entry != nullptr && ChosenKeys::instance().isChosen(entry->window, entry->info));
    __allOwn->setEnabled(std::any_of(__entries.begin(), __entries.end(), [](const auto& each) {
        return ChosenKeys::instance().isChosen(each->window, each->info);
    }));
    const auto users = entry != nullptr ? usersOf(key, *entry) : QList<const Entry*>();
    __change->setText(users.isEmpty() ? "Change" : "Take over");
    __conflict->setText(users.isEmpty()
                            ? QString()
                            : key.toString(QKeySequence::NativeText) + " is the key of \"" + users[0]->name() + "\" (" +
                                  users[0]->window + "). To take it over leaves that command without it.");
}

void ShortcutsDialog::change(const QKeySequence& key) {
    const Entry* const entry = current();
    if (entry == nullptr)
        return;
    for (const Entry* const user : usersOf(key, *entry)) {
        QList<QKeySequence> others = shortcutsOf(user->keys());
        others.removeAll(key);
        ChosenKeys::instance().choose(user->window, user->info,
                                      QKeySequence::listToString(others, QKeySequence::PortableText));
    }
    ChosenKeys::instance().choose(entry->window, entry->info, key.toString(QKeySequence::PortableText));
}

void ShortcutsDialog::keysChanged() {
    for (const auto& entry : __entries)
        if (entry->row != nullptr)
            showKeys(*entry->row, entry->keys(), ChosenKeys::instance().isChosen(entry->window, entry->info));
    applyFilter();
    showCurrent();
}

QTreeWidgetItem* ShortcutsDialog::newHeading(const QString& text, QTreeWidgetItem* parent) {
    auto* const heading = parent != nullptr ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(__list);
    heading->setText(TextColumn, text);
    heading->setFlags(Qt::ItemIsEnabled);
    heading->setFirstColumnSpanned(true);
    heading->setExpanded(true);
    QFont font = __list->font();
    font.setBold(true);
    if (parent == nullptr)
        font.setPointSizeF(font.pointSizeF() * 1.1);
    heading->setFont(TextColumn, font);
    return heading;
}

void ShortcutsDialog::addRow(QTreeWidgetItem& heading, const CommandSheet& sheet, const CommandInfo& info) {
    const QIcon icon = VRLIcons::icon(info.icon);
    auto* const row = new QTreeWidgetItem(&heading, {readable(info.text), QString(), info.tip});
    row->setIcon(TextColumn, icon.isNull() ? emptyIcon(__list->iconSize()) : icon);
    row->setToolTip(TipColumn, info.tip);
    for (const auto& entry : __entries)
        if (entry->window == sheet.window && QLatin1String(entry->info.id) == QLatin1String(info.id)) {
            entry->row = row;
            showKeys(*row, entry->keys(), ChosenKeys::instance().isChosen(entry->window, info));
        }
}

void ShortcutsDialog::addSheet(const CommandSheet& sheet) {
    const QString scope = *sheet.within != '\0' ? sheet.within : sheet.window;
    for (const CommandInfo& info : sheet.commands) {
        if (info.planned)
            continue;
        __entries.push_back(std::make_unique<Entry>());
        *__entries.back() = {sheet.window, scope, info, nullptr};
    }
    QTreeWidgetItem* const window = newHeading(sheet.window, nullptr);
    QSet<QString> listed;
    for (const CommandMenu& menu : sheet.menus) {
        QTreeWidgetItem* const heading = newHeading(menu.title, window);
        for (const char* entry : menu.entries) {
            const CommandInfo* const info = sheet.find(entry);
            if (info == nullptr || info->planned || listed.contains(info->id))
                continue;
            listed += info->id;
            addRow(*heading, sheet, *info);
        }
        if (heading->childCount() == 0)
            delete heading;
    }
    applyFilter();
}

void ShortcutsDialog::setFilter(const QString& text) {
    __search->setText(text);
}

void ShortcutsDialog::applyFilter() {
    const QStringList words = __search->text().toLower().split(' ', Qt::SkipEmptyParts);
    int number = 0;
    const std::function<bool(QTreeWidgetItem&)> show = [&](QTreeWidgetItem& item) {
        bool shown = false;
        for (int i = 0; i < item.childCount(); ++i)
            shown = show(*item.child(i)) || shown;
        if (item.childCount() == 0) {
            const QString text = item.data(TextColumn, searchRole).toString();
            shown = (!__withKeys->isChecked() || !item.text(KeysColumn).isEmpty()) &&
                    std::all_of(words.begin(), words.end(), [&text](const QString& w) { return text.contains(w); });
            number += shown ? 1 : 0;
        }
        item.setHidden(!shown);
        return shown;
    };
    for (int i = 0; i < __list->topLevelItemCount(); ++i)
        show(*__list->topLevelItem(i));
    __count->setText(number == 0   ? QString("No command matches.")
                     : number == 1 ? QString("1 command")
                                   : QString("%1 commands").arg(number));
    for (const int column : {TextColumn, KeysColumn})
        __list->resizeColumnToContents(column);
    showCurrent();
}

} // namespace vorlen
