#pragma once

#include <QFrame>

#include "ui/registration/imagetransparencymode.h"
#include "values/registration.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QPushButton;

namespace vorlen {

class StackSlice;
class VRLDecimalBox;
class VRLImageTransparencyModeComboBox;
class VRLSliceListWidget;
class VRLStack;

/// How two sections are compared: mixed, in turns, or in squares.
enum class ComparisonMode { Mixed, Blink, Checkerboard };

/// The controls of the registration window: its slices, what is shown of them, and the registration of the current one.
///
/// What is set from outside is not told by signals. The field of the angle shows tenths of a degree; a finer angle
/// stays as it is until the field is changed.
class VRLRegistrationPanel : public QFrame {
    Q_OBJECT

public:
    explicit VRLRegistrationPanel(QWidget* parent = nullptr);

    /// Lists all slices but the first; none is selected.
    void setStack(VRLStack& stack);
    void setSlice(StackSlice& slice);
    void setRegistration(const Registration& registration);
    void setRestoreEnabled(bool enabled);
    void clear();

    /// Whether the current slice is locked: its registration can be seen and not changed.
    void setLocked(bool locked);

    void setComparison(ComparisonMode mode);
    void setFramesChecked(bool checked);
    void setWorstFirst(bool worstFirst);

    /// Place of the last slice that goes along with one at this place, by the choice of the user.
    int lastFollower(int place) const;

public slots:
    void registrationChange();

signals:
    void sliceClicked(StackSlice& slice);
    void registrationChanged(const Registration& registration);
    void firstClicked();
    void nextClicked();
    void previousClicked();
    void lastClicked();
    void resetClicked();
    void restoreClicked();
    void cancelClicked();
    void applyClicked();
    void biggerClicked();
    void smallerClicked();
    void transparencyModeChanged(ImageTransparencyMode mode);
    void framesEnabled(bool enabled);
    void comparisonChanged(ComparisonMode mode);
    void lockClicked(bool locked);
    void worstFirstClicked(bool worstFirst);

private:
    QWidget* newSliceButtons();
    QGroupBox* newDisplayGroup();
    QGroupBox* newRegistrationGroup();
    QWidget* newButtons();
    QLineEdit* newField();
    void sliceSelectionChange();
    void fillFollowers();
    void updateEnabled();
    void orderSlices();
    void scoresChange();

    VRLStack* __stack = nullptr;
    StackSlice* __slice = nullptr;
    Registration __registration;
    bool __locked = false;
    VRLSliceListWidget* __slices;
    QCheckBox* __worstFirst;
    QCheckBox* __frames;
    VRLImageTransparencyModeComboBox* __transparencyMode;
    QComboBox* __comparison;
    QLineEdit* __stackName;
    QLineEdit* __backgroundName;
    QLineEdit* __foregroundName;
    QLineEdit* __horShift;
    QLineEdit* __verShift;
    VRLDecimalBox* __angle;
    QCheckBox* __lock;
    QComboBox* __follow;
    QComboBox* __until;
    QPushButton* __reset;
    QPushButton* __apply;
    QPushButton* __restore;
};

} // namespace vorlen
