#include "ui/commands/shortcutsdialog.h"

#include <algorithm>
#include <functional>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QVBoxLayout>

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

} // namespace

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
    layout->addLayout(bottom);
    resize(860, 680);
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

void ShortcutsDialog::addRow(QTreeWidgetItem& heading, const QString& text, const QIcon& icon, const QString& keys,
                             const QString& tip) {
    auto* const row = new QTreeWidgetItem(&heading, {text, keys, tip});
    row->setIcon(TextColumn, icon.isNull() ? emptyIcon(__list->iconSize()) : icon);
    row->setToolTip(TipColumn, tip);
    QStringList words = {text, keys, tip};
    for (const QTreeWidgetItem* above = &heading; above != nullptr; above = above->parent())
        words += above->text(TextColumn);
    row->setData(TextColumn, searchRole, words.join('\n').toLower());
}

void ShortcutsDialog::addSheet(const CommandSheet& sheet) {
    QTreeWidgetItem* const window = newHeading(sheet.window, nullptr);
    QSet<QString> listed;
    for (const CommandMenu& menu : sheet.menus) {
        QTreeWidgetItem* const heading = newHeading(menu.title, window);
        for (const char* entry : menu.entries) {
            const CommandInfo* const info = sheet.find(entry);
            if (info == nullptr || info->planned || listed.contains(info->id))
                continue;
            listed += info->id;
            addRow(*heading, readable(info->text), VRLIcons::icon(info->icon), info->keys, info->tip);
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
}

} // namespace vorlen
