#pragma once

// Every modal question and message of the documents goes through the installed alert
// presenter: by default a QMessageBox, in tests a script that answers at once. The
// presenter gets the panel's description and answers which button was chosen.
//
// Thread contract: main thread only.

#include <QString>
#include <QStringList>

class QWidget;

struct Alert {
    enum class Style { Informational, Warning, Critical };

    Style style = Style::Informational;
    QString title;
    QString message;
    // Button titles, the default (safe) one first.
    QStringList buttons;
    // The button that Escape or closing the panel stands for; -1: the default one.
    int cancelButton = -1;
    // The window the panel belongs to; null for an application-wide panel.
    QWidget* parent = nullptr;

    // The critical "Warning!" asked before an action stops playback: `message`, the
    // default (safe) button "No" and the alternate "Stop Playback" (button 1).
    static Alert stopPlaybackWarning(const QString& message, QWidget* parent = nullptr);
};

class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;

    // Shows the alert and answers the index of the chosen button in alert.buttons (the
    // cancel button, or else the default one, when the panel is dismissed otherwise).
    virtual int runAlert(const Alert& alert) = 0;

    // The installed presenter; the message-box presenter when none was installed.
    static AlertPresenter& current();
    // Installs `presenter` (not owned); null goes back to the message-box presenter.
    static void setCurrent(AlertPresenter* presenter);

    // Shortcut: runs `alert` through the current presenter and answers the chosen
    // button's title.
    static QString run(const Alert& alert);
};

// The real panel: a QMessageBox with the alert's icon, texts and buttons.
class MessageBoxAlertPresenter : public AlertPresenter {
public:
    int runAlert(const Alert& alert) override;
};
