#pragma once

// The GPI manager as the document windows reach it: finds a connected interface box by
// its serial number and sets the level of one of its output (tally) lines. Installed by
// the application in StudioServices. The preferences window lists the connected boxes
// through it.
//
// Thread contract: main thread only.

#include <QString>
#include <QStringList>

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
    // The serial numbers of the connected interfaces, by interface index (the preferences
    // window offers them as the tally box). A manager that finds boxes must answer them;
    // the empty default serves stand-ins that have none.
    virtual QStringList connectedSerialNumbers() const { return {}; }
};
