#include "app/hid/SurfacesSimulatorWindow.h"

#include "app/hid/SimulatedIOWarriorBus.h"
#include "app/hid/SimulatedXKeysDevice.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace {
constexpr int kInputs = 24;
constexpr int kOutputs = 8;
constexpr int kLampRefreshMilliseconds = 50;
constexpr int kRowsPerColumn = 7; // the eighth key of a column does not exist
constexpr int kLastKey = 70;
} // namespace

SurfacesSimulatorWindow::SurfacesSimulatorWindow(SimulatedIOWarriorBus* bus, QString serialNumber,
                                                 SimulatedXKeysDevice* keypad, QWidget* parent)
    : QWidget(parent)
    , _bus(bus)
    , _serialNumber(std::move(serialNumber))
    , _keypad(keypad) {
    setWindowTitle(QStringLiteral("Simulated Control Surfaces"));
    auto* layout = new QVBoxLayout(this);
    if (_bus) {
        layout->addWidget(makeGpiBox());
    }
    if (_keypad) {
        layout->addWidget(makeKeypad());
    }
    _lampTimer = new QTimer(this);
    _lampTimer->setInterval(kLampRefreshMilliseconds);
    connect(_lampTimer, &QTimer::timeout, this, &SurfacesSimulatorWindow::refreshLamps);
    _lampTimer->start();
}

SurfacesSimulatorWindow::~SurfacesSimulatorWindow() = default;

QWidget* SurfacesSimulatorWindow::makeGpiBox() {
    auto* box = new QGroupBox(QStringLiteral("GPI box %1").arg(_serialNumber), this);
    auto* layout = new QVBoxLayout(box);
    auto* plugged = new QCheckBox(QStringLiteral("Plugged in"), box);
    plugged->setChecked(_bus->isPlugged(_serialNumber));
    connect(plugged, &QCheckBox::toggled, this, [this](bool on) {
        if (on) {
            _bus->plugBoard(_serialNumber);
        } else {
            _bus->unplugBoard(_serialNumber);
        }
    });
    layout->addWidget(plugged);

    auto* contacts = new QGridLayout;
    for (int input = 0; input < kInputs; ++input) {
        auto* contact = new QCheckBox(QString::number(input + 1), box);
        contact->setToolTip(QStringLiteral("Contact %1: checked is closed").arg(input + 1));
        connect(contact, &QCheckBox::toggled, this,
                [this, input](bool closed) { _bus->setContact(_serialNumber, input, closed); });
        contacts->addWidget(contact, input / 8, input % 8);
        _contacts.push_back(contact);
    }
    layout->addWidget(new QLabel(QStringLiteral("Contacts"), box));
    layout->addLayout(contacts);

    auto* lamps = new QHBoxLayout;
    for (int output = 0; output < kOutputs; ++output) {
        auto* lamp = new QLabel(QString::number(output + 1), box);
        lamp->setAlignment(Qt::AlignCenter);
        lamp->setMinimumWidth(28);
        lamp->setAutoFillBackground(true);
        lamps->addWidget(lamp);
        _lamps.push_back(lamp);
    }
    layout->addWidget(new QLabel(QStringLiteral("Tally"), box));
    layout->addLayout(lamps);
    refreshLamps();
    return box;
}

QWidget* SurfacesSimulatorWindow::makeKeypad() {
    auto* box = new QGroupBox(QStringLiteral("X-keys keypad"), this);
    auto* grid = new QGridLayout(box);
    for (int key = SimulatedXKeysDevice::kFirstKey; key <= kLastKey; ++key) {
        const int offset = key - SimulatedXKeysDevice::kFirstKey;
        const int column = offset / SimulatedXKeysDevice::kKeysPerColumn;
        const int row = offset % SimulatedXKeysDevice::kKeysPerColumn;
        if (row >= kRowsPerColumn) {
            continue;
        }
        auto* button = new QPushButton(QString::number(key), box);
        button->setFixedWidth(40);
        connect(button, &QPushButton::pressed, this, [this, key] { _keypad->press(key); });
        connect(button, &QPushButton::released, this, [this, key] { _keypad->release(key); });
        grid->addWidget(button, row, column);
    }
    return box;
}

void SurfacesSimulatorWindow::refreshLamps() {
    if (!_bus) {
        return;
    }
    for (int output = 0; output < static_cast<int>(_lamps.size()); ++output) {
        const bool lit = _bus->isPlugged(_serialNumber) && _bus->isTallyLit(_serialNumber, output);
        QPalette palette = _lamps[static_cast<size_t>(output)]->palette();
        palette.setColor(QPalette::Window, lit ? QColor(220, 30, 30) : QColor(70, 70, 70));
        palette.setColor(QPalette::WindowText, Qt::white);
        _lamps[static_cast<size_t>(output)]->setPalette(palette);
    }
}

QCheckBox* SurfacesSimulatorWindow::contact(int input) const {
    return input >= 0 && input < static_cast<int>(_contacts.size())
               ? _contacts[static_cast<size_t>(input)]
               : nullptr;
}

QLabel* SurfacesSimulatorWindow::lamp(int output) const {
    return output >= 0 && output < static_cast<int>(_lamps.size())
               ? _lamps[static_cast<size_t>(output)]
               : nullptr;
}
