#include "tests/surfaces/StdoutCapture.h"

#include <cstdio>
#include <unistd.h>

StdoutCapture::StdoutCapture() {
    std::fflush(stdout);
    if (_file.open()) {
        _savedStdout = ::dup(STDOUT_FILENO);
        ::dup2(_file.handle(), STDOUT_FILENO);
    }
}

StdoutCapture::~StdoutCapture() {
    std::fflush(stdout);
    if (_savedStdout >= 0) {
        ::dup2(_savedStdout, STDOUT_FILENO);
        ::close(_savedStdout);
    }
}

QByteArray StdoutCapture::text() {
    std::fflush(stdout);
    QFile reader(_file.fileName());
    return reader.open(QIODevice::ReadOnly) ? reader.readAll() : QByteArray();
}
