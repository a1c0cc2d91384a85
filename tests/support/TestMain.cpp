// The main of every test executable: one QApplication for the run (offscreen unless a
// platform was chosen), the audio engine on its null back end, and a scratch
// XDG_CONFIG_HOME so that no test can touch the real user's settings.

#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    if (qEnvironmentVariableIsEmpty("ZELVORA_AUDIO")) {
        qputenv("ZELVORA_AUDIO", "null");
    }
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + "/data").toUtf8());

    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
