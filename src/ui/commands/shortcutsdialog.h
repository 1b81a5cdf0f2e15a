#pragma once

#include <memory>
#include <vector>

#include <QDialog>
#include <QKeySequence>
#include <QList>

class QCheckBox;
class QKeySequenceEdit;
class QLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace vorlen {

struct CommandInfo;
struct CommandSheet;

/// A list to read, to search and to change: the commands of all windows by window and menu, with their keys and what
/// they do. Commands that are planned are left out. It blocks nothing, and deletes itself when it is closed.
///
/// The command that is marked can be given another key, none, or its own again, and all of them theirs. A change is
/// kept at once (ChosenKeys) and holds in all open windows. A key that another command of the same window has is said
/// to be taken; to take it over leaves that command without it.
class ShortcutsDialog : public QDialog {
    Q_OBJECT

public:
    explicit ShortcutsDialog(QWidget* parent = nullptr);
    ~ShortcutsDialog() override;

    /// A window's commands; one that stands in several menus or tool bars under the first.
    void addSheet(const CommandSheet& sheet);

public slots:
    /// Leaves the commands that have all words of the text in their text, tip, keys, menu or window, in any case of
    /// letters.
    void setFilter(const QString& text);

private:
    struct Entry;

    QTreeWidgetItem* newHeading(const QString& text, QTreeWidgetItem* parent);
    void addRow(QTreeWidgetItem& heading, const CommandSheet& sheet, const CommandInfo& info);
    void applyFilter();
    QLayout* newEditor();
    const Entry* current() const;
    QList<const Entry*> usersOf(const QKeySequence& key, const Entry& but) const;
    void showCurrent();
    void keyTyped();
    void change(const QKeySequence& key);
    void keysChanged();

    std::vector<std::unique_ptr<Entry>> __entries;
    QLineEdit* __search;
    QCheckBox* __withKeys;
    QTreeWidget* __list;
    QLabel* __count;
    QLabel* __name; // of the command that is marked
    QKeySequenceEdit* __key;
    QPushButton* __change;
    QPushButton* __none;
    QPushButton* __own;
    QPushButton* __allOwn;
    QLabel* __conflict;
};

} // namespace vorlen
