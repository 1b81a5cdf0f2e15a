#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

namespace vorlen {

/// Handles to the controls of a window, by what the user reads, and answers to the modal windows that it opens.

/// The one child of this kind and accessible name.
template <class Control>
Control& control(const QWidget& window, const QString& name) {
    for (Control* child : window.findChildren<Control*>())
        if (child->accessibleName() == name)
            return *child;
    throw std::runtime_error("no control named " + name.toStdString());
}

inline QPushButton& button(const QWidget& window, const QString& text) {
    for (QPushButton* child : window.findChildren<QPushButton*>())
        if (child->text() == text)
            return *child;
    throw std::runtime_error("no button named " + text.toStdString());
}

/// Answers the message boxes that open while it lives, in order, by the texts of their buttons, and keeps what they
/// said. A box too many, and a window of another kind, is closed and makes the test fail.
class Answers {
public:
    explicit Answers(std::vector<QString> buttons) : __buttons(std::move(buttons)) {
        QObject::connect(&__timer, &QTimer::timeout, [this] { answer(); });
        __timer.start(10);
    }

    ~Answers() { EXPECT_EQ(texts.size(), __buttons.size()) << "message boxes"; }

    std::vector<QString> texts;
    std::vector<QString> titles;
    std::vector<QString> defaults;

private:
    void answer() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr)
            return;
        auto* box = qobject_cast<QMessageBox*>(dialog);
        if (box == nullptr || texts.size() == __buttons.size()) {
            ADD_FAILURE() << "unexpected window: " << dialog->windowTitle().toStdString() << " "
                          << (box != nullptr ? box->text().toStdString() : std::string());
            dialog->reject();
            return;
        }
        const QString wanted = __buttons[texts.size()];
        texts.push_back(box->text());
        titles.push_back(box->windowTitle());
        defaults.push_back(box->defaultButton() != nullptr ? box->defaultButton()->text().remove('&') : QString());
        if (wanted == "Escape")
            return box->reject();
        for (QAbstractButton* candidate : box->buttons())
            if (candidate->text().remove('&') == wanted)
                return candidate->click();
        ADD_FAILURE() << "no button " << wanted.toStdString();
        box->reject();
    }

    QTimer __timer;
    std::vector<QString> __buttons;
};

} // namespace vorlen
