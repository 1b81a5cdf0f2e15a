#pragma once

#include <QFrame>

#include "ui/registration/vrlautomaticregistrationconfig.h"

class QCheckBox;
class QPushButton;

namespace vorlen {

/// Starts automatic registration, and stops it.
class VRLAutomaticRegistrationPanel : public QFrame {
    Q_OBJECT

public:
    explicit VRLAutomaticRegistrationPanel(QWidget* parent = nullptr);

    /// While it runs it can be cancelled and not run again.
    void setRunning(bool running);

public slots:
    void runClicked();

signals:
    void runClicked(const VRLAutomaticRegistrationConfig& config);
    void cancelClicked();

private:
    QCheckBox* __allSlices;
    QPushButton* __run;
    QPushButton* __cancel;
};

} // namespace vorlen
