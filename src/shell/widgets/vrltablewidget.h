#pragma once

#include <QTableWidget>
#include <QTableWidgetSelectionRange>

/// A table for reading: its cells cannot be edited; the selection goes to the clipboard and the whole to a file, as
/// tab-separated text with a line of quoted headers.
class VRLTableWidget : public QTableWidget {
    Q_OBJECT

public:
    explicit VRLTableWidget(QWidget* parent = nullptr);

    /// Shades every other row, from the first on.
    void setAlternateBackgroundColor();

    /// The first selected range, or an empty one.
    QTableWidgetSelectionRange selectedRange() const;

    /// The text of a range, without a line feed at its end.
    QString selectionText(const QTableWidgetSelectionRange& range) const;

    /// Writes the table to the file, as a whole or not at all; false when it cannot be written.
    bool saveTo(const QString& fileName) const;

public slots:
    void copySelection() const;

    /// Asks for a file and writes the table to it.
    void save() const;
};
