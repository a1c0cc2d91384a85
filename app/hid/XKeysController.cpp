#include "app/hid/XKeysController.h"

#include "app/hid/XKeyHandler.h"
#include "app/hid/XKeysDevice.h"
#include "foundation/Logging.h"

#include <QTimer>

namespace {
constexpr int kReportCapacity = 64;
// A keypad that floods the bus cannot hold the main thread in one tick.
constexpr int kMaxReportsPerTick = 256;
} // namespace

XKeysController::XKeysController(XKeyHandler* controller, std::unique_ptr<XKeysDevice> device)
    : _controller(controller)
    , _currentDevice(std::move(device)) {
    // A QTimer also fires in nested event loops (menus, drags, modal panels).
    _timer = std::make_unique<QTimer>();
    _timer->setInterval(kTickMilliseconds);
    QObject::connect(_timer.get(), &QTimer::timeout, [this] { updateTimer(); });
    _timer->start();
}

XKeysController::~XKeysController() = default;

bool XKeysController::isPolling() const {
    return _timer && _timer->isActive();
}

void XKeysController::updateTimer() {
    if (_currentDevice) {
        std::uint8_t report[kReportCapacity];
        for (int taken = 0; taken < kMaxReportsPerTick; ++taken) {
            const int length = _currentDevice->readReport(report, kReportCapacity);
            if (length == 0) {
                break;
            }
            if (length < 0) {
                if (!_lossLogged) {
                    _lossLogged = true;
                    qCWarning(lcKeypad) << "The X-keys keypad stopped answering (unplugged?); "
                                           "restart the program after plugging it in again.";
                }
                break;
            }
            takeReport(report, length);
        }
    }
    while (!_queue.empty()) {
        const auto [key, pressed] = _queue.front();
        _queue.pop_front();
        if (!_controller) {
            continue;
        }
        if (pressed) {
            _controller->handlePressedXKey(key);
        } else {
            _controller->handleReleasedXKey(key);
        }
    }
}

void XKeysController::takeReport(const std::uint8_t* report, int length) {
    if (length < XKeysDevice::kColumns) {
        if (!_garbageLogged) {
            _garbageLogged = true;
            qCWarning(lcKeypad) << "Dropped a keypad report of" << length
                                << "bytes; a key report has at least" << XKeysDevice::kColumns;
        }
        return;
    }
    for (int column = 0; column < XKeysDevice::kColumns; ++column) {
        const std::uint8_t changed = report[column] ^ _buttons[static_cast<size_t>(column)];
        for (int row = 0; row < XKeysDevice::kKeysPerColumn; ++row) {
            if ((changed >> row) & 1u) {
                const int key = XKeysDevice::kFirstKey + column * XKeysDevice::kKeysPerColumn + row;
                _queue.emplace_back(key, ((report[column] >> row) & 1u) != 0);
            }
        }
        _buttons[static_cast<size_t>(column)] = report[column];
    }
}
