#pragma once

// Shared pieces of the outputs panel and pre-listen tests: the clip fixture over the
// offline engine with an outputs panel installed, clips that report to it, and a GPI
// manager stand-in that records which tally lines were set.

#include "clip/GpiTallyLines.h"
#include "tests/clip/ClipTestSupport.h"

#include <QList>
#include <QString>
#include <memory>

class OutputsMonitoringPanelController;

// A GPI manager with one connected box whose serial number is `serialNumber` at index
// `boxIndex`; records every setState() as "box line state".
class RecordingTallyLines : public GpiTallyLines {
public:
    RecordingTallyLines(QString serialNumber, int boxIndex)
        : _serialNumber(std::move(serialNumber))
        , _boxIndex(boxIndex) {}

    int findInterfaceIndexWithSerialNumber(const QString& serialNumber) const override {
        return serialNumber == _serialNumber ? _boxIndex : -1;
    }
    void setState(int interfaceIndex, bool state, int output) override {
        calls << QStringLiteral("%1 %2 %3").arg(interfaceIndex).arg(output).arg(state ? 1 : 0);
    }

    QStringList calls;

private:
    QString _serialNumber;
    int _boxIndex;
};

class OutputsPanelTest : public ClipEngineTest {
protected:
    void SetUp() override;
    void TearDown() override;

    OutputsMonitoringPanelController& panel() { return *_panel; }

    // A clip on output `output` that reports to the panel, loaded from `path`.
    SoundClip& clipOn(int output, const QString& path, const QVariantMap& overrides = {});

    // "Kestrel Serial Number" names the recording box; `tally` records its lines.
    void connectTallyBox();
    std::unique_ptr<RecordingTallyLines> tally;

    // `ticks` times: renders 50 ms and gives every playing clip and then the panel's strips
    // their tick.
    void tickAll(int ticks = 1);

private:
    std::unique_ptr<OutputsMonitoringPanelController> _panel;
};
