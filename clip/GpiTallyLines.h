#pragma once

// The GPI manager as the document windows reach it: finds a connected interface box by
// its serial number and sets the level of one of its output (tally) lines. Installed by
// the application in StudioServices.
//
// Thread contract: main thread only.

#include <QString>

class GpiTallyLines {
public:
    virtual ~GpiTallyLines() = default;

    // Index of the first connected interface whose serial number is `serialNumber`; -1
    // when none is.
    virtual int findInterfaceIndexWithSerialNumber(const QString& serialNumber) const = 0;
    // Sets output line `output` of interface `interfaceIndex` to `state`. The lines are
    // active low: state false lights the tally, true turns it off. An unknown interface
    // or line is ignored.
    virtual void setState(int interfaceIndex, bool state, int output) = 0;
};
