#pragma once

#include <QList>
#include <QSplitter>

namespace vorlen {

/// A splitter that remembers its state in the settings, under a key of its own.
class VRLSplitter : public QSplitter {
    Q_OBJECT

public:
    VRLSplitter(const QString& settingsKey, Qt::Orientation orientation, QWidget* parent = nullptr);

    using QSplitter::addWidget;

    /// Adds the widget and remembers the size that it gets when no state is stored.
    void addWidget(QWidget* widget, int size);

    /// Brings back the stored state, or the remembered sizes where there is none that fits.
    void restore();

private:
    void store() const;

    QString __settingsKey;
    QList<int> __sizes;
};

} // namespace vorlen
