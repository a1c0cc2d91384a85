#pragma once

// A scratch home for one test: a fresh XDG_CONFIG_HOME (and XDG_DATA_HOME) in a temporary
// folder, and a user-defaults store installed as the standard one, so nothing a test
// writes reaches the real home or another test. restart() saves and re-reads the
// defaults, as a second run of the program would.

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

class UserDefaults;

class ScratchHome : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The folder of this test's scratch home.
    QString path() const { return _dir.path(); }
    // The defaults store installed for this test.
    UserDefaults& defaults() { return *_defaults; }
    // Drops the store and reads it back from disk (registered values are not kept, as
    // on a real restart; call the registration again if the test needs it).
    void restart();

private:
    QTemporaryDir _dir;
    QByteArray _savedConfigHome;
    QByteArray _savedDataHome;
    std::unique_ptr<UserDefaults> _defaults;
};
