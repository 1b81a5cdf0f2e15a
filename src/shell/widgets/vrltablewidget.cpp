#include "shell/widgets/vrltablewidget.h"

#include <QClipboard>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QSaveFile>
#include <QStringList>

VRLTableWidget::VRLTableWidget(QWidget* parent) : QTableWidget(parent) {
    setEditTriggers(QAbstractItemView::NoEditTriggers);
}

void VRLTableWidget::setAlternateBackgroundColor() {
    setUpdatesEnabled(false);
    for (int row = 0; row < rowCount(); row += 2)
        for (int column = 0; column < columnCount(); ++column)
            if (QTableWidgetItem* cell = item(row, column))
                cell->setBackground(QColor(245, 245, 245));
    setUpdatesEnabled(true);
}

QTableWidgetSelectionRange VRLTableWidget::selectedRange() const {
    const QList<QTableWidgetSelectionRange> ranges = selectedRanges();
    return ranges.isEmpty() ? QTableWidgetSelectionRange() : ranges.first();
}

QString VRLTableWidget::selectionText(const QTableWidgetSelectionRange& range) const {
    if (range.columnCount() <= 0 || range.leftColumn() < 0)
        return QString();
    QStringList headers;
    for (int column = range.leftColumn(); column <= range.rightColumn(); ++column) {
        const QTableWidgetItem* header = horizontalHeaderItem(column);
        headers += '"' + (header != nullptr ? header->text() : QString()).replace('\n', ' ') + '"';
    }
    QStringList lines = {headers.join('\t')};
    for (int row = range.topRow(); row <= range.bottomRow(); ++row) {
        QStringList cells;
        for (int column = range.leftColumn(); column <= range.rightColumn(); ++column) {
            const QTableWidgetItem* cell = item(row, column);
            cells += cell != nullptr ? cell->text() : QString();
        }
        lines += cells.join('\t');
    }
    return lines.join('\n');
}

bool VRLTableWidget::saveTo(const QString& fileName) const {
    QSaveFile file(fileName);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(selectionText(QTableWidgetSelectionRange(0, 0, rowCount() - 1, columnCount() - 1)).toUtf8());
    return file.commit();
}

void VRLTableWidget::copySelection() const {
    QGuiApplication::clipboard()->setText(selectionText(selectedRange()));
}

void VRLTableWidget::save() const {
    auto* parent = const_cast<VRLTableWidget*>(this); // dialogs want one, and leave it as it is
    const QString name = QFileDialog::getSaveFileName(parent, "Save table");
    if (!name.isEmpty() && !saveTo(name))
        QMessageBox::critical(parent, "Write error", "Cannot write " + name);
}
