#include "tests/support/ScratchHome.h"

#include "foundation/UserDefaults.h"

void ScratchHome::SetUp() {
    ASSERT_TRUE(_dir.isValid());
    _savedConfigHome = qgetenv("XDG_CONFIG_HOME");
    _savedDataHome = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_CONFIG_HOME", (_dir.path() + "/config").toUtf8());
    qputenv("XDG_DATA_HOME", (_dir.path() + "/data").toUtf8());
    _defaults = std::make_unique<UserDefaults>(UserDefaults::defaultDirectory());
    UserDefaults::setStandard(_defaults.get());
}

void ScratchHome::TearDown() {
    UserDefaults::setStandard(nullptr);
    _defaults.reset();
    qputenv("XDG_CONFIG_HOME", _savedConfigHome);
    qputenv("XDG_DATA_HOME", _savedDataHome);
}

void ScratchHome::restart() {
    UserDefaults::setStandard(nullptr);
    _defaults.reset();
    _defaults = std::make_unique<UserDefaults>(UserDefaults::defaultDirectory());
    UserDefaults::setStandard(_defaults.get());
}
