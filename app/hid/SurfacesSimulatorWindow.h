#pragma once

// A window to drive the simulated control surfaces by hand while the program runs: the
// GPI box's 24 contacts (checked = closed) and its 8 tally lamps, a plug switch for the
// box, and the keypad's keys laid out in its nine columns (held while the mouse holds
// them).
//
// Thread contract: main thread only.

#include <QWidget>

#include <vector>

class QCheckBox;
class QLabel;
class QTimer;
class SimulatedIOWarriorBus;
class SimulatedXKeysDevice;

class SurfacesSimulatorWindow : public QWidget {
    Q_OBJECT
public:
    // `bus`, `keypad` (either may be null) are not owned and outlive the window.
    SurfacesSimulatorWindow(SimulatedIOWarriorBus* bus, QString serialNumber,
                            SimulatedXKeysDevice* keypad, QWidget* parent = nullptr);
    ~SurfacesSimulatorWindow() override;

    // Shows the lamps as the box's last output report lights them.
    void refreshLamps();
    QCheckBox* contact(int input) const;
    QLabel* lamp(int output) const;

private:
    QWidget* makeGpiBox();
    QWidget* makeKeypad();

    SimulatedIOWarriorBus* _bus;
    QString _serialNumber;
    SimulatedXKeysDevice* _keypad;
    std::vector<QCheckBox*> _contacts;
    std::vector<QLabel*> _lamps;
    QTimer* _lampTimer = nullptr;
};
