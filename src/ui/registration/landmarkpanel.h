#pragma once

#include <vector>

#include <QFrame>

#include "ui/registration/sectionlandmarks.h"

class QLabel;
class QPushButton;
class QTableWidget;

namespace vorlen {

/// Landmarks of the current slice and the one before it: a list with what is left of each after the fit, and the
/// buttons for them. The landmarks are the mediator's.
class LandmarkPanel : public QFrame {
    Q_OBJECT

public:
    explicit LandmarkPanel(QWidget* parent = nullptr);

    /// With the summary below the list.
    void setLandmarks(const std::vector<Landmark>& landmarks, const QString& summary);
    void setSetting(bool on);
    /// Whether there is a slice that may be moved.
    void setUsable(bool usable);

signals:
    void setClicked(bool on);
    void fitClicked();
    /// Of the place in the list.
    void deleteClicked(int landmark);
    void clearClicked();

private:
    void updateButtons();

    QPushButton* __set;
    QPushButton* __fit;
    QPushButton* __delete;
    QPushButton* __clear;
    QTableWidget* __table;
    QLabel* __summary;
    int __numPairs = 0;
    bool __usable = false;
};

} // namespace vorlen
