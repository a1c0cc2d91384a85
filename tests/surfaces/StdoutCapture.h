#pragma once

// Captures what the process writes to standard output (file descriptor 1, so write(2)
// from any thread as well as stdio) while it lives. Main thread only.

#include <QByteArray>
#include <QTemporaryFile>

class StdoutCapture {
public:
    StdoutCapture();
    ~StdoutCapture(); // restores standard output

    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;

    // Everything written so far.
    QByteArray text();

private:
    QTemporaryFile _file;
    int _savedStdout = -1;
};
