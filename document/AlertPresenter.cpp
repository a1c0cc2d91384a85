#include "document/AlertPresenter.h"

#include <QMessageBox>
#include <QPushButton>

namespace {
AlertPresenter* gPresenter = nullptr;

QMessageBox::Icon iconFor(Alert::Style style) {
    switch (style) {
    case Alert::Style::Informational:
        return QMessageBox::Information;
    case Alert::Style::Warning:
        return QMessageBox::Warning;
    case Alert::Style::Critical:
        return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}
} // namespace

Alert Alert::stopPlaybackWarning(const QString& message, QWidget* parent) {
    Alert alert;
    alert.style = Style::Critical;
    alert.title = QStringLiteral("Warning!");
    alert.message = message;
    alert.buttons = {QStringLiteral("No"), QStringLiteral("Stop Playback")};
    alert.parent = parent;
    return alert;
}

AlertPresenter& AlertPresenter::current() {
    static MessageBoxAlertPresenter messageBox;
    return gPresenter ? *gPresenter : messageBox;
}

void AlertPresenter::setCurrent(AlertPresenter* presenter) {
    gPresenter = presenter;
}

QString AlertPresenter::run(const Alert& alert) {
    const int chosen = current().runAlert(alert);
    return alert.buttons.value(chosen);
}

int MessageBoxAlertPresenter::runAlert(const Alert& alert) {
    QMessageBox box(alert.parent);
    box.setIcon(iconFor(alert.style));
    box.setWindowTitle(alert.title);
    box.setText(alert.title);
    box.setInformativeText(alert.message);
    QList<QPushButton*> buttons;
    for (const QString& title : alert.buttons) {
        // The roles only order the buttons the platform's way; the answer is by identity.
        buttons << box.addButton(title, buttons.isEmpty() ? QMessageBox::AcceptRole
                                                          : QMessageBox::RejectRole);
    }
    const int dismissed =
        alert.cancelButton >= 0 && alert.cancelButton < buttons.size() ? alert.cancelButton : 0;
    if (!buttons.isEmpty()) {
        box.setDefaultButton(buttons.first());
        box.setEscapeButton(buttons[dismissed]);
    }
    box.exec();
    const int chosen = static_cast<int>(buttons.indexOf(box.clickedButton()));
    return chosen < 0 ? dismissed : chosen;
}
