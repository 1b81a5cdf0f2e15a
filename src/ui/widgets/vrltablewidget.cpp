#include "ui/widgets/vrltablewidget.h"
#include "ui/widgets/plaintext.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <QClipboard>
#include <QCollator>
#include <QEvent>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMessageBox>
#include <QSaveFile>
#include <QSignalBlocker>
#include <QStringList>

namespace vorlen {

namespace {

/// A cell that is shaded without a word to its table, which would look for the cell among all of its sorted cells.
class Cell : public QTableWidgetItem {
public:
    using QTableWidgetItem::QTableWidgetItem;

    void shade(const QVariant& background) { __background = background; }

    QVariant data(int role) const override {
        return role == Qt::BackgroundRole ? __background : QTableWidgetItem::data(role);
    }

private:
    QVariant __background;
};

/// Text in the order in which people sort names: numbers in it by their value, case only where nothing else differs.
class TextCell : public Cell {
public:
    explicit TextCell(const QString& text) : Cell(text) {}

    bool operator<(const QTableWidgetItem& other) const override {
        static const QCollator collator = [] {
            QCollator result{QLocale(QLocale::English)};
            result.setNumericMode(true);
            result.setCaseSensitivity(Qt::CaseInsensitive);
            return result;
        }();
        return collator.compare(text(), other.text()) < 0;
    }
};

/// A cell with a number behind its text.
class RankedCell : public Cell {
public:
    RankedCell(const QString& text, double rank, Qt::Alignment alignment)
        : Cell(text), __rank(rank), __alignment(alignment | Qt::AlignVCenter) {}

    QVariant data(int role) const override {
        return role == Qt::TextAlignmentRole ? QVariant(int(__alignment)) : Cell::data(role);
    }

    bool operator<(const QTableWidgetItem& other) const override {
        const auto* cell = dynamic_cast<const RankedCell*>(&other);
        return cell != nullptr ? __rank < cell->__rank : QTableWidgetItem::operator<(other);
    }

private:
    double __rank;
    Qt::Alignment __alignment;
};

/// NaN would break the order of the others.
double orderable(double value) {
    return std::isnan(value) ? -std::numeric_limits<double>::infinity() : value;
}

/// A light gray under dark text; in a dark palette the rows' colour with a touch of the text's.
QColor shadeColor(const QPalette& palette) {
    const QColor base = palette.color(QPalette::Base), text = palette.color(QPalette::Text);
    if (base.lightness() >= 128)
        return QColor(245, 245, 245);
    const auto mixed = [](int from, int to) { return from + (to - from) * 7 / 100; };
    return QColor(mixed(base.red(), text.red()), mixed(base.green(), text.green()), mixed(base.blue(), text.blue()));
}

} // namespace

VRLTableWidget::VRLTableWidget(QWidget* parent) : QTableWidget(parent) {
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    verticalHeader()->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    connect(model(), &QAbstractItemModel::layoutChanged, this, &VRLTableWidget::updateShading);
}

void VRLTableWidget::beginContents(const QStringList& headers, int numRows) {
    setSortingEnabled(false);
    clear();
    setRowCount(numRows);
    setColumnCount(int(headers.size()));
    setHorizontalHeaderLabels(headers);
    scrollToTop();
    __shaded = false;
}

void VRLTableWidget::endContents() {
    horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    setSortingEnabled(true);
    const int character = fontMetrics().averageCharWidth();
    resizeColumnsToContents();
    for (int column = 0; column < columnCount(); ++column) {
        horizontalHeaderItem(column)->setTextAlignment((column == 0 ? Qt::AlignLeft : Qt::AlignRight) |
                                                       Qt::AlignVCenter);
        setColumnWidth(column, std::max(columnWidth(column) + 2 * character, 14 * character));
    }
    viewport()->update();
}

void VRLTableWidget::place(int row, int column, QTableWidgetItem* cell) {
    const QSignalBlocker blocker(model()); // a signal for each cell would take longer than the rest
    setItem(row, column, cell);
}

void VRLTableWidget::setHeaderToolTip(int column, const QString& text) {
    horizontalHeaderItem(column)->setToolTip(text);
}

void VRLTableWidget::setText(int row, int column, const QString& text) {
    place(row, column, new TextCell(text)); // the table deletes its cells
}

void VRLTableWidget::setRankedText(int row, int column, const QString& text, double rank) {
    place(row, column, new RankedCell(text, rank, Qt::AlignLeft));
}

void VRLTableWidget::setNumber(int row, int column, int value) {
    place(row, column, new RankedCell(QString::number(value), value, Qt::AlignRight));
}

void VRLTableWidget::setNumber(int row, int column, double value) {
    place(row, column, new RankedCell(QString::number(value, 'g', 6), orderable(value), Qt::AlignRight));
}

void VRLTableWidget::setNotAvailable(int row, int column, const QString& reason) {
    auto* cell = new RankedCell("NA", -std::numeric_limits<double>::infinity(), Qt::AlignRight);
    cell->setToolTip(reason);
    place(row, column, cell);
}

void VRLTableWidget::setAlternateBackgroundColor() {
    __shaded = true;
    updateShading();
}

void VRLTableWidget::updateShading() {
    if (!__shaded)
        return;
    const QVariant shade = QBrush(shadeColor(palette()));
    setUpdatesEnabled(false);
    {
        const QSignalBlocker blocker(model()); // each of its signals would sort the rows once more
        for (int row = 0; row < rowCount(); ++row)
            for (int column = 0; column < columnCount(); ++column) {
                const QVariant background = row % 2 == 0 ? shade : QVariant();
                QTableWidgetItem* item = this->item(row, column);
                if (auto* cell = dynamic_cast<Cell*>(item))
                    cell->shade(background);
                else if (item != nullptr)
                    item->setData(Qt::BackgroundRole, background);
            }
    }
    setUpdatesEnabled(true);
    viewport()->update();
}

void VRLTableWidget::changeEvent(QEvent* event) {
    QTableWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        updateShading();
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
    const QString text = selectionText(selectedRange());
    if (!text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

void VRLTableWidget::save() const {
    auto* parent = const_cast<VRLTableWidget*>(this); // dialogs want one, and leave it as it is
    const QString name = QFileDialog::getSaveFileName(parent, "Save table");
    if (name.isEmpty() || saveTo(name))
        return;
    PlainMessageBox box(QMessageBox::Critical, "Write error", "Cannot write " + name, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
