// The test hooks of the running program: a named key reaches the focused window as a
// press and a release with its text, an unknown key or no window is refused, the state
// lists the visible windows, and pictures of them land in the folder asked for.

#include "app/DiagnosticCommands.h"

#include <QApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QKeyEvent>
#include <QTemporaryDir>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

// A window that records the keys it is given: "press A a", "release A a".
class KeyRecorder : public QWidget {
public:
    KeyRecorder() {
        setFocusPolicy(Qt::StrongFocus);
        setWindowTitle(QStringLiteral("Recorder"));
        resize(120, 80);
    }
    QStringList keys;

protected:
    void keyPressEvent(QKeyEvent* event) override { record(QStringLiteral("press"), event); }
    void keyReleaseEvent(QKeyEvent* event) override { record(QStringLiteral("release"), event); }

private:
    void record(const QString& kind, QKeyEvent* event) {
        keys << QStringLiteral("%1 %2 %3")
                    .arg(kind, QKeySequence(event->key()).toString(), event->text());
    }
};

class DiagnosticCommandsTest : public ::testing::Test {
protected:
    void SetUp() override {
        window.show();
        window.activateWindow();
        window.setFocus();
        QApplication::processEvents();
    }

    QJsonObject press(const QString& text) {
        return DiagnosticCommands::pressKey({{QStringLiteral("text"), text}});
    }

    KeyRecorder window;
};

TEST_F(DiagnosticCommandsTest, NamedKeysReachTheFocusedWindowAsPressAndRelease) {
    EXPECT_TRUE(press(QStringLiteral("a")).value("ok").toBool());
    EXPECT_TRUE(press(QStringLiteral("X")).value("ok").toBool());
    EXPECT_TRUE(press(QStringLiteral("f5")).value("ok").toBool());
    EXPECT_TRUE(press(QStringLiteral("space")).value("ok").toBool());
    EXPECT_EQ(window.keys,
              (QStringList{"press A a", "release A a", "press X x", "release X x", "press F5 ",
                           "release F5 ", "press Space  ", "release Space  "}));
}

TEST_F(DiagnosticCommandsTest, UnknownKeysAreRefusedAndSendNothing) {
    for (const QString& text : {QStringLiteral("ctrl"), QStringLiteral("f13"), QStringLiteral(""),
                                QStringLiteral("7"), QStringLiteral("fx")}) {
        const QJsonObject answer = press(text);
        EXPECT_FALSE(answer.value("ok").toBool()) << text.toStdString();
        EXPECT_FALSE(answer.value("error").toString().isEmpty());
    }
    EXPECT_TRUE(window.keys.isEmpty());
}

TEST_F(DiagnosticCommandsTest, StateListsTheVisibleWindowsAndPicturesAreSaved) {
    const QJsonObject state = DiagnosticCommands::state();
    QStringList titles;
    for (const QJsonValue& entry : state.value("windows").toArray()) {
        titles << entry.toObject().value("title").toString();
    }
    EXPECT_TRUE(titles.contains(QStringLiteral("Recorder")));

    QTemporaryDir pictures;
    const QJsonObject grabbed =
        DiagnosticCommands::grabWindows({{QStringLiteral("folder"), pictures.path()}});
    ASSERT_TRUE(grabbed.value("ok").toBool());
    EXPECT_TRUE(QFileInfo(pictures.filePath(QStringLiteral("Recorder.png"))).size() > 0);
    EXPECT_FALSE(
        DiagnosticCommands::grabWindows({{QStringLiteral("folder"), pictures.filePath("none")}})
            .value("ok")
            .toBool());
}

} // namespace
