#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace vorlen {

struct CommandSheet;

/// A list to read and to search: the commands of all windows by window and menu, with their keys and what they do.
/// Commands that are planned are left out. It blocks nothing, and deletes itself when it is closed.
class ShortcutsDialog : public QDialog {
    Q_OBJECT

public:
    explicit ShortcutsDialog(QWidget* parent = nullptr);

    /// A window's commands; one that stands in several menus or tool bars under the first.
    void addSheet(const CommandSheet& sheet);

    /// Further actions of a window, under a heading of their own. They are seen now and not kept.

public slots:
    /// Leaves the commands that have all words of the text in their text, tip, keys, menu or window, in any case of
    /// letters.
    void setFilter(const QString& text);

private:
    QTreeWidgetItem* newHeading(const QString& text, QTreeWidgetItem* parent);
    void addRow(QTreeWidgetItem& heading, const QString& text, const QIcon& icon, const QString& keys,
                const QString& tip);
    void applyFilter();

    QLineEdit* __search;
    QCheckBox* __withKeys;
    QTreeWidget* __list;
    QLabel* __count;
};

} // namespace vorlen
