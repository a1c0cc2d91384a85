#pragma once

// The images compiled into the program (resources.qrc, under ":/images/"). They live in a
// static library, so nothing registers them until initialize() runs; ResourceImages calls
// it on first use, and code that opens ":/images/..." paths directly must call it first.

class ZelvoraResources {
public:
    // Registers the compiled images with Qt's resource system. Idempotent; main thread
    // only (call it before any other thread reads ":/images/").
    static void initialize();
};
