#pragma once

#include <QTableWidget>
#include <QTableWidgetSelectionRange>

namespace vorlen {

/// A table for reading: its cells cannot be edited; the selection goes to the clipboard and the whole to a file, as
/// tab-separated text with a line of quoted headers.
///
/// A table filled between beginContents() and endContents() with the set... operations is sorted by a click on a
/// header: numbers by their value, not by the text that stands for them. What is copied or saved has the order that is
/// shown. Once shaded, a table is shaded anew when its rows are sorted or the palette changes.
class VRLTableWidget : public QTableWidget {
    Q_OBJECT

public:
    explicit VRLTableWidget(QWidget* parent = nullptr);

    /// Empties the table, headers included, and prepares it to be filled in any order of cells.
    void beginContents(const QStringList& headers, int numRows);

    /// Shows what was filled in. Lets the user sort the rows, which stay in the order in which they were filled until
    /// then, and makes the columns wide enough for headers and contents.
    void endContents();

    void setHeaderToolTip(int column, const QString& text);

    /// A text; sorted as people do ("s2" before "s10").
    void setText(int row, int column, const QString& text);

    /// A text that is sorted by a rank of its own.
    void setRankedText(int row, int column, const QString& text, double rank);

    /// A number: decimal, or with six significant digits; at the right of its cell.
    void setNumber(int row, int column, int value);
    void setNumber(int row, int column, double value);

    /// "NA", sorted below all numbers, with the reason as tool tip.
    void setNotAvailable(int row, int column, const QString& reason);

    /// Shades every other row, from the first on: light gray, or in a dark palette a little lighter than the others.
    void setAlternateBackgroundColor();

    /// The first selected range, or an empty one.
    QTableWidgetSelectionRange selectedRange() const;

    /// The text of a range, without a line feed at its end.
    QString selectionText(const QTableWidgetSelectionRange& range) const;

    /// Writes the table to the file, as a whole or not at all; false when it cannot be written.
    bool saveTo(const QString& fileName) const;

public slots:
    /// Copies the text of selectedRange(); with nothing selected the clipboard keeps what it has.
    void copySelection() const;

    /// Asks for a file and writes the table to it.
    void save() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void place(int row, int column, QTableWidgetItem* cell);
    void updateShading();

    bool __shaded = false;
};

} // namespace vorlen
