#pragma once

// One board interface in the access layer's list: where to send its reports, the board's
// serial number, and the interface type (0 and 1: the two interfaces of a 32-line board;
// 2 and 3: those of a 16-line board). Immutable once listed, and shared: a GPI controller
// keeps its node while the list is rebuilt under it. Any thread.

#include <QString>

struct IOWarriorListNode {
    QString path;
    QString serialNumber;
    int interfaceType = 0;
};
