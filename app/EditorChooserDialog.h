#pragma once

// Chooses the program that opens clips for editing: one of the installed applications
// (those that open audio files first; all of them on request) or any executable file.
// Answers the command line to store as "Default Editor". Main thread only.

#include "app/DesktopApplications.h"

#include <QDialog>
#include <QList>

class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;

class EditorChooserDialog : public QDialog {
    Q_OBJECT
public:
    EditorChooserDialog(QList<DesktopApplication> applications, QWidget* parent = nullptr);

    // Runs the dialog over the installed applications; the chosen command, or "" when
    // cancelled.
    static QString chooseEditor(QWidget* parent);

    // The command of the chosen entry; "" while nothing is chosen.
    QString command() const;
    // Lists every application, or only those that open audio files (all of them when
    // none does).
    void setShowsAllApplications(bool all);
    // Takes the executable at `path` as the editor and closes with OK; false, saying so
    // in the dialog, when it is not an executable file.
    bool chooseProgram(const QString& path);

    QListWidget* applicationList() const { return _list; }
    // What went wrong with the last program chosen; empty when nothing did.
    QString problem() const;

private:
    void fillList();
    void browseForProgram();

    QList<DesktopApplication> _applications;
    QListWidget* _list = nullptr;
    QCheckBox* _showAll = nullptr;
    QPushButton* _chooseButton = nullptr;
    QLabel* _problem = nullptr;
    QString _programCommand;
};
