#pragma once

#include <QWidget>

#include "editing/bus/vrleventclient.h"

class QScrollArea;

namespace vorlen {

class CommandRegistry;
class LandmarkPanel;
class StackSlice;
class StripView;
class VRLAutomaticRegistrationPanel;
class VRLRegistrationCanvas;
class VRLRegistrationMediator;
class VRLRegistrationPanel;
class VRLRegistrationStatusBar;
class VRLRegistrationToolBar;
class VRLStack;

/// A window of its own in which the slices of a stack are aligned, each on the one before it. It deletes itself when it
/// is closed, when its stack is closed, or when the program ends. One is open for a stack at a time.
///
/// Position and size are kept in the settings. A position that is on no screen any more is replaced by the default.
/// Whoever closes it with a registration that was not applied is asked.
class VRLRegistrationWindow : public QWidget, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLRegistrationWindow(QWidget* parent = nullptr);
    ~VRLRegistrationWindow() override;

    /// Brings the window that works on the stack to the front; false when there is none.
    static bool raiseWindowOf(const VRLStack& stack);

    /// Nothing for a stack of fewer than two slices.
    void setStack(VRLStack& stack);

    /// The slice, or the second of the stack in place of the first. The first one that is shown is made small enough to
    /// be seen whole.
    void showSlice(StackSlice& slice);

    VRLRegistrationMediator& getMediator() const { return *__mediator; }
    VRLRegistrationCanvas& getCanvas() const { return *__canvas; }
    VRLRegistrationPanel& getPanel() const { return *__panel; }
    LandmarkPanel& getLandmarkPanel() const { return *__landmarkPanel; }
    StripView& getStrips() const { return *__strips; }
    VRLRegistrationStatusBar& getStatusBar() const { return *__statusBar; }
    CommandRegistry& commands() const;

    void stackCloseEvent(VRLStackCloseEvent& event) override;

    /// Where the controls scroll, the wheel scrolls them and changes none that it comes across.
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void layOut();
    bool mayClose();

    VRLStack* __stack = nullptr;
    QScrollArea* __controls = nullptr;
    VRLAutomaticRegistrationPanel* __automaticPanel;
    VRLRegistrationCanvas* __canvas;
    VRLRegistrationPanel* __panel;
    VRLRegistrationStatusBar* __statusBar;
    VRLRegistrationToolBar* __toolBar;
    LandmarkPanel* __landmarkPanel;
    StripView* __strips;
    VRLRegistrationMediator* __mediator;
};

} // namespace vorlen
