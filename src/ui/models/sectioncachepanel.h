#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace vorlen {

/// Tells where the reduced images of large sections are kept, how much they take up and at most may, and deletes them
/// when the user wants it: sections that are opened later make them again.
class SectionCachePanel : public QWidget {
    Q_OBJECT

public:
    explicit SectionCachePanel(QWidget* parent = nullptr);

    /// Looks at the folder anew.
    void refresh();

private:
    void clear();

    QLabel* __text;
    QPushButton* __clear;
};

} // namespace vorlen
