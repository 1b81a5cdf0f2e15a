#pragma once

#include <QFrame>

#include "ui/registration/vrlautomaticregistrationconfig.h"

class QCheckBox;
class QComboBox;
class QPushButton;

namespace vorlen {

class Stack;

/// Says how automatic registration is to be done, starts it, and stops it. What only a run over all slices asks for can
/// be set when all slices are checked.
class VRLAutomaticRegistrationPanel : public QFrame {
    Q_OBJECT

public:
    explicit VRLAutomaticRegistrationPanel(QWidget* parent = nullptr);

    /// Offers the slices of this stack. What was chosen stays where the stack still has it; else the range is all.
    void setSlices(const Stack& stack);

    VRLAutomaticRegistrationConfig config() const;

    /// While it runs it can be cancelled and not run again.
    void setRunning(bool running);

public slots:
    void runClicked();

signals:
    void runClicked(const VRLAutomaticRegistrationConfig& config);
    void cancelClicked();
    void bendClicked();

private:
    QComboBox* addChoice(const char* name, const QString& toolTip);
    void updateUse();

    bool __running = false;
    QCheckBox* __allSlices;
    QComboBox* __method;
    QComboBox* __reference;
    QComboBox* __fixed;
    QComboBox* __first;
    QComboBox* __last;
    QPushButton* __run;
    QPushButton* __cancel;
    QPushButton* __bend;
};

} // namespace vorlen
