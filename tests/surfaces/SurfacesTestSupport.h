#pragma once

// Recorders for the surfaces tests: the application's keypad actions, and GPI documents
// that note the edges they receive.

#include "app/hid/GPIInputReceiver.h"
#include "app/hid/GPIInputTargets.h"
#include "app/hid/XKeysActions.h"

#include <QList>
#include <QStringList>

namespace surfacestest {

inline QString yesNo(bool state) {
    return state ? QStringLiteral("YES") : QStringLiteral("NO");
}

// Keeps the latched states as the application would and records every call.
class RecordingActions : public XKeysActions {
public:
    bool shiftKeyState() const override { return shift; }
    bool commandKeyState() const override { return command; }
    void setShiftKeyState(bool state) override { latch("shift", &shift, state); }
    void setControlKeyState(bool state) override { latch("control", &control, state); }
    void setAltKeyState(bool state) override { latch("alt", &alt, state); }
    void setCommandKeyState(bool state) override { latch("command", &command, state); }
    void setLeftArrowKeyState(bool state) override { latch("left", &left, state); }
    void setRightArrowKeyState(bool state) override { latch("right", &right, state); }
    void setConfigKeyState(bool state) override { latch("config", &config, state); }
    void setEditKeyState(bool state) override { latch("edit", &edit, state); }
    void setStopKeyState(bool state) override { latch("stop", &stop, state); }
    void setLoopKeyState(bool state) override { latch("loop", &loop, state); }

    void handleClipButtonPressed(int index) override {
        journal << QStringLiteral("button %1 config=%2").arg(index).arg(yesNo(config));
    }
    void toggleCueMode() override { journal << QStringLiteral("toggleCueMode"); }
    bool openFunctionKeyDocumentAtIndex(int index) override {
        journal << QStringLiteral("function %1").arg(index);
        return true;
    }
    void stopOutput(int index) override { journal << QStringLiteral("stopOutput %1").arg(index); }
    void pauseOutput(int index) override { journal << QStringLiteral("pauseOutput %1").arg(index); }
    void stopButtonPushed() override { journal << QStringLiteral("stop all"); }
    void pauseButtonPushed() override { journal << QStringLiteral("pause all"); }
    void preListenStopButtonPushed() override { journal << QStringLiteral("pre-listen stop"); }
    void preListenPlayButtonPushed() override { journal << QStringLiteral("pre-listen play"); }
    void preListenJumpBackButtonPushed() override {
        journal << QStringLiteral("pre-listen jump back");
    }

    QStringList journal;
    bool shift = false, control = false, alt = false, command = false, left = false, right = false,
         config = false, edit = false, stop = false, loop = false;

private:
    void latch(const char* name, bool* state, bool value) {
        *state = value;
        journal << QStringLiteral("%1 %2").arg(QLatin1String(name), yesNo(value));
    }
};

// Records "<name> <input>:<state>".
class RecordingReceiver : public GPIInputReceiver {
public:
    RecordingReceiver(QStringList* journal, QString name)
        : _journal(journal)
        , _name(std::move(name)) {}
    void gpiInputHasChanged(int input, int newState) override {
        _journal->append(QStringLiteral("%1 %2:%3").arg(_name).arg(input).arg(newState));
    }

private:
    QStringList* _journal;
    QString _name;
};

class FakeDocuments : public GPIInputTargets {
public:
    int openDocumentsCount() const override { return static_cast<int>(open.size()); }
    GPIInputReceiver* documentControllerAt(int position) const override {
        return open.value(position);
    }
    GPIInputReceiver* currentDocumentController() const override { return current; }

    QList<GPIInputReceiver*> open;
    GPIInputReceiver* current = nullptr;
};

} // namespace surfacestest
