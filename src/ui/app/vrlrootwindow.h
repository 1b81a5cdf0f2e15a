#pragma once

#include <string>

#include <QWidget>

class QFrame;
class QLabel;
class QMenu;
class QToolBar;

namespace vorlen {

class VRLPanorama;
class VRLRecovery;
class VRLRootBrowser;
class VRLRootMediator;
class VRLRootSliceEditWidget;
class VRLRootStatusBar;
class Workspace;

/// The main window: menus, tool bar, browser of stacks and slices, the workspace with the slice view, status bar.
/// Several can be open at once; all show the same list of open stacks. A window deletes itself when it is closed.
///
/// Closing the last window is quitting: every modified stack is asked about first. No window closes, and no file can be
/// dropped, while something is drawn or edited: it would be lost without a question.
class VRLRootWindow : public QWidget {
    Q_OBJECT

public:
    VRLRootWindow();
    ~VRLRootWindow() override;

    /// Opens a stack named on the command line.
    void startupOpenStack(const std::string& file);

    /// Opens all that is named on the command line: stacks one after the other; of images and folders of images a new
    /// stack is made, as of those that are dropped on the window.
    void startupOpen(const QStringList& files);

    /// Offers what an earlier run has left behind.
    void startupRecover(VRLRecovery& recovery);

    /// The text and the program's name; the name alone for an empty text.
    void setTitle(const std::string& text);

    VRLRootMediator& mediator() { return *__mediator; }
    VRLRootStatusBar& statusBar() { return *__statusBar; }
    VRLRootSliceEditWidget& sliceWidget() { return *__sliceWidget; }
    VRLPanorama& panorama() { return *__panorama; }
    VRLRootBrowser& browser() { return *__browser; }
    QToolBar& toolBar() { return *__toolBar; }
    Workspace& workspace() { return *__workspace; }

    static int numRootWindows() { return __numRootWindows; }

public slots:
    void newWindow();
    void toggleBrowser();
    void toggleToolBar();
    void toggleStatusBar();
    /// The guide that is installed with the program.
    void openGuide();
    void openHomepage();
    void openPDFManual();
    void subscribeMailingList();
    void quit();
    bool confirmQuit();
    /// The list of all commands and their keys; one for each root window.
    void showShortcuts();
    void about();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    static int numOpenRootWindows();

    QLabel* newHintLine(QWidget* parent);
    void addOutlineMenu(QMenu& edit);
    void toggle(QWidget& part, const QString& settingsKey);

    static int __numRootWindows;
    static bool __uponQuitting;

    QToolBar* __toolBar;
    VRLRootSliceEditWidget* __sliceWidget;
    VRLPanorama* __panorama;
    VRLRootStatusBar* __statusBar;
    VRLRootBrowser* __browser;
    Workspace* __workspace;
    VRLRootMediator* __mediator;
    bool __closed = false;
};

} // namespace vorlen
