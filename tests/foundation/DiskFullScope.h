#pragma once

// While it lives, every write that would make a file longer fails with "File too large"
// (a file-size limit of zero, which binds root too): a full disk, for one test.

#include <csignal>
#include <sys/resource.h>

class DiskFullScope {
public:
    DiskFullScope() {
        _active = getrlimit(RLIMIT_FSIZE, &_previous) == 0;
        _previousHandler = std::signal(SIGXFSZ, SIG_IGN); // fail with EFBIG, do not die
        rlimit none = _previous;
        none.rlim_cur = 0;
        _active = _active && setrlimit(RLIMIT_FSIZE, &none) == 0;
    }
    ~DiskFullScope() {
        if (_active) {
            setrlimit(RLIMIT_FSIZE, &_previous);
        }
        std::signal(SIGXFSZ, _previousHandler);
    }
    DiskFullScope(const DiskFullScope&) = delete;
    DiskFullScope& operator=(const DiskFullScope&) = delete;

    bool isActive() const { return _active; }

private:
    rlimit _previous{};
    void (*_previousHandler)(int) = nullptr;
    bool _active = false;
};
