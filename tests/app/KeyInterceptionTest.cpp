// The keys the application looks at before the windows do: the table of what is passed
// on and what is swallowed, with and without modifiers and with different windows in
// front, through the real event path of a top-level window; and the physical arrow
// keys it tracks.

#include "app/KeyInterceptor.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

class FakeTarget : public KeyInterceptor::Target {
public:
    bool presetOrPanelInFront() const override { return front; }
    bool switchToNextOpenDocument() override {
        ++switches;
        return hasNextDocument;
    }
    bool openFunctionKeyDocumentAtIndex(int index) override {
        functionKeys.push_back(index);
        return functionKeyHasEntry;
    }
    void spaceBarHasBeenDepressed() override { ++spaces; }

    bool front = false;
    bool hasNextDocument = true;
    bool functionKeyHasEntry = true;
    int switches = 0;
    int spaces = 0;
    std::vector<int> functionKeys;
};

// A window that records the keys that reach it.
class KeyRecordingWindow : public QWidget {
public:
    std::vector<int> received;

protected:
    void keyPressEvent(QKeyEvent* event) override { received.push_back(event->key()); }
};

} // namespace

TEST(KeyInterception, AnyModifierPassesEveryKeyOnUntouched) {
    FakeTarget target;
    target.front = true;
    KeyInterceptor interceptor(target);
    const Qt::KeyboardModifier modifiers[] = {Qt::ShiftModifier, Qt::ControlModifier,
                                              Qt::AltModifier, Qt::MetaModifier};
    const int keys[] = {Qt::Key_F1,  Qt::Key_F5,   Qt::Key_Space,
                        Qt::Key_Tab, Qt::Key_Left, Qt::Key_Right};
    for (Qt::KeyboardModifier modifier : modifiers) {
        for (int key : keys) {
            EXPECT_FALSE(interceptor.routeKeyPress(key, modifier)) << key << " " << modifier;
        }
    }
    EXPECT_TRUE(target.functionKeys.empty());
    EXPECT_EQ(target.switches, 0);
    EXPECT_EQ(target.spaces, 0);
    // The keypad flag is no modifier: F1 from a keypad is still a function key.
    EXPECT_TRUE(interceptor.routeKeyPress(Qt::Key_F1, Qt::KeypadModifier));
}

TEST(KeyInterception, ArrowsAndSpaceAreTakenOnlyWithACartWallOrTheOutputsPanelInFront) {
    FakeTarget target;
    KeyInterceptor interceptor(target);

    target.front = false; // a playlist, the preferences, nothing
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_Left, Qt::NoModifier));
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_Right, Qt::NoModifier));
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_Space, Qt::NoModifier));
    EXPECT_EQ(target.spaces, 0);

    target.front = true;
    EXPECT_TRUE(interceptor.routeKeyPress(Qt::Key_Left, Qt::NoModifier));
    EXPECT_TRUE(interceptor.routeKeyPress(Qt::Key_Right, Qt::NoModifier));
    EXPECT_TRUE(interceptor.routeKeyPress(Qt::Key_Space, Qt::NoModifier));
    EXPECT_EQ(target.spaces, 1) << "space goes to the outputs panel";
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_Up, Qt::NoModifier));
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_A, Qt::NoModifier)) << "letters fire buttons";
}

TEST(KeyInterception, FunctionKeysOpenTheirDocumentsAndTabSwitches) {
    FakeTarget target;
    KeyInterceptor interceptor(target);
    for (int key = Qt::Key_F1; key <= Qt::Key_F12; ++key) {
        EXPECT_TRUE(interceptor.routeKeyPress(key, Qt::NoModifier));
    }
    EXPECT_EQ(target.functionKeys, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_F13, Qt::NoModifier));

    target.functionKeyHasEntry = false;
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_F5, Qt::NoModifier))
        << "a key without any entry passes on";

    EXPECT_TRUE(interceptor.routeKeyPress(Qt::Key_Tab, Qt::NoModifier));
    target.hasNextDocument = false;
    EXPECT_FALSE(interceptor.routeKeyPress(Qt::Key_Tab, Qt::NoModifier))
        << "with no document Tab passes on";
    EXPECT_EQ(target.switches, 2);
}

TEST(KeyInterception, SwallowedKeysNeverReachTheWindowThroughTheEventPath) {
    FakeTarget target;
    target.front = true;
    KeyInterceptor interceptor(target);
    qApp->installEventFilter(&interceptor);
    KeyRecordingWindow window;
    window.resize(200, 100);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    QTest::keyClick(window.windowHandle(), Qt::Key_F5);
    QTest::keyClick(window.windowHandle(), Qt::Key_Space);
    QTest::keyClick(window.windowHandle(), Qt::Key_C);
    QTest::keyClick(window.windowHandle(), Qt::Key_F5, Qt::ShiftModifier);
    qApp->removeEventFilter(&interceptor);

    EXPECT_EQ(target.functionKeys, std::vector<int>{5}) << "each key is looked at once";
    EXPECT_EQ(target.spaces, 1);
    // Shift itself arrives too: the modified F5 is passed on whole.
    EXPECT_EQ(window.received, (std::vector<int>{Qt::Key_C, Qt::Key_Shift, Qt::Key_F5}));
}

TEST(KeyInterception, TracksThePhysicalArrowKeys) {
    FakeTarget target;
    KeyInterceptor interceptor(target);
    qApp->installEventFilter(&interceptor);
    KeyRecordingWindow window;
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    QTest::keyPress(window.windowHandle(), Qt::Key_Left);
    EXPECT_TRUE(interceptor.isLeftArrowDepressed());
    EXPECT_FALSE(interceptor.isRightArrowDepressed());
    QTest::keyPress(window.windowHandle(), Qt::Key_Right);
    EXPECT_TRUE(interceptor.isRightArrowDepressed());
    QTest::keyRelease(window.windowHandle(), Qt::Key_Left);
    EXPECT_FALSE(interceptor.isLeftArrowDepressed());
    EXPECT_TRUE(interceptor.isRightArrowDepressed());

    // An auto-repeated release while the key is still held changes nothing.
    QKeyEvent repeatedRelease(QEvent::KeyRelease, Qt::Key_Right, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(window.windowHandle(), &repeatedRelease);
    EXPECT_TRUE(interceptor.isRightArrowDepressed());

    // Losing the keyboard forgets the keys (their releases go to another program).
    QApplicationStateChangeEvent inactive(Qt::ApplicationInactive);
    QApplication::sendEvent(qApp, &inactive);
    qApp->removeEventFilter(&interceptor);
    EXPECT_FALSE(interceptor.isRightArrowDepressed());
}
