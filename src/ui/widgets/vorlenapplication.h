#pragma once

#include <clocale>
#include <locale>

#include <QAbstractSpinBox>
#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSurfaceFormat>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include "ui/widgets/placedwindow.h"

namespace vorlen {

/// The application object of every program with windows.
///
/// It asks for the OpenGL that the canvases draw with before anything can make a context, takes the names under which
/// the settings are kept, and puts the classic locale back in the place of the user's, which Qt has installed: numbers
/// in files have a point.
///
/// Texts of labels, message boxes and tool tips are plain, unless they were made something else: the name of a file or
/// a model may look like a text with marks. No window begins larger than its screen. The
/// field in which a dialog begins is selected as a whole: what is typed takes the place of what stands there.
///
/// A dialog that closes while the list below one of its fields is open, as that of file names does by Return, leaves
/// Qt 6.4 without an active window: nothing then has the focus, not even what is clicked on. The next key or click
/// finds the window again that the desktop gives the keys to.
class VorlenApplication : public QApplication {
public:
    VorlenApplication(int& argc, char** argv) : QApplication(withSurfaceFormat(argc), argv) {
        setOrganizationName("KORV");
        setApplicationName("Vorlen");
        std::setlocale(LC_NUMERIC, "C");
        std::locale::global(std::locale::classic());
    }

    /// For canvases: of the compatibility profile, with a depth of 24 bits and smoothed edges. Windows get the same
    /// without the smoothing, which would double the time of composing them and be seen nowhere.
    static QSurfaceFormat surfaceFormat() {
        QSurfaceFormat format;
        format.setProfile(QSurfaceFormat::CompatibilityProfile);
        format.setDepthBufferSize(24);
        format.setSamples(4);
        return format;
    }

    bool notify(QObject* receiver, QEvent* event) override {
        if (event->type() == QEvent::Polish) {
            if (auto* const label = qobject_cast<QLabel*>(receiver); label && label->textFormat() == Qt::AutoText)
                label->setTextFormat(Qt::PlainText);
            if (auto* const box = qobject_cast<QMessageBox*>(receiver); box && box->textFormat() == Qt::AutoText)
                box->setTextFormat(Qt::PlainText);
        }
        if (event->type() == QEvent::Show && !event->spontaneous() && receiver->isWidgetType())
            fitOnScreen(*static_cast<QWidget*>(receiver));
        if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::MouseButtonPress)
            findActiveWindow();
        const bool handled = QApplication::notify(receiver, event);
        if (event->type() == QEvent::WindowActivate)
            if (auto* const dialog = qobject_cast<QDialog*>(receiver))
                beginInField(*dialog);
        return handled;
    }

private:
    /// Once: who comes back to a dialog goes on where he was.
    static void beginInField(QDialog& dialog) {
        constexpr const char* begun = "vorlenBegun";
        if (dialog.property(begun).toBool())
            return;
        dialog.setProperty(begun, true);
        // The focus comes after the window.
        QTimer::singleShot(0, &dialog, [&dialog] {
            QWidget* const field = dialog.focusWidget();
            if (auto* const number = qobject_cast<QAbstractSpinBox*>(field))
                number->selectAll();
            else if (auto* const line = qobject_cast<QLineEdit*>(field))
                line->selectAll();
        });
    }

    static void findActiveWindow() {
        if (activeWindow() != nullptr || activePopupWidget() != nullptr || focusWindow() == nullptr)
            return;
        for (QWidget* const widget : topLevelWidgets())
            if (widget->windowHandle() == focusWindow() && widget->windowType() != Qt::Popup)
                setActiveWindow(widget);
    }

    static int& withSurfaceFormat(int& argc) {
        QSurfaceFormat format = surfaceFormat();
        format.setSamples(0);
        QSurfaceFormat::setDefaultFormat(format);
        return argc;
    }
};

} // namespace vorlen
