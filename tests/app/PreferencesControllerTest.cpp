// The preferences window: function keys (a cancelled chooser clears the key), the
// default editor, the check boxes bound both ways to their defaults, the GPI box choice
// among the connected boxes, and the outputs page with its nine blocks.

#include "app/PreferencesController.h"
#include "app/ZelvoraApplication.h"
#include "clip/GpiTallyLines.h"
#include "clip/OutputSettings.h"
#include "clip/StudioServices.h"
#include "foundation/UserDefaults.h"
#include "outputs/CColorCustomView.h"
#include "outputs/OutputSettingsCell.h"
#include "tests/outputs/OutputsTestSupport.h"
#include "tests/support/Screenshot.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QTabWidget>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class ConnectedBoxes : public GpiTallyLines {
public:
    QStringList serials;
    int findInterfaceIndexWithSerialNumber(const QString& serial) const override {
        return int(serials.indexOf(serial));
    }
    void setState(int, bool, int) override {}
    QStringList connectedSerialNumbers() const override { return serials; }
};

class PreferencesControllerTest : public OutputsFixture {
protected:
    void SetUp() override {
        OutputsFixture::SetUp();
        ZelvoraApplication::initialize(defaults());
    }
    void TearDown() override {
        StudioServices::clear();
        OutputsFixture::TearDown();
    }
};

// ---- Function keys and the editor ----

TEST_F(PreferencesControllerTest, ACancelledChooserClearsTheFunctionKey) {
    defaults().setObject(QStringLiteral("/shows/morning.zpreset"),
                         QStringLiteral("Function Key 3"));
    PreferencesController window;
    EXPECT_EQ(window.functionKeyField(3)->text(), QStringLiteral("/shows/morning.zpreset"));

    QString answer;
    int asked = 0;
    window.setDocumentChooser([&](QWidget*) {
        ++asked;
        return answer;
    });
    window.functionKeyButtonPushed(3);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(defaults().objectForKey(QStringLiteral("Function Key 3")), QVariant(QString("")));
    EXPECT_EQ(window.functionKeyField(3)->text(), QString());

    answer = QStringLiteral("/shows/evening.zpreset");
    window.functionKeyButtonPushed(12);
    EXPECT_EQ(window.functionKeyField(12)->text(), answer);
    window.functionKeyButtonPushed(13); // there is no F13
    EXPECT_EQ(asked, 2);

    // Written at once.
    restart();
    EXPECT_EQ(defaults().stringForKey(QStringLiteral("Function Key 12")), answer);
    EXPECT_TRUE(defaults().hasObjectForKey(QStringLiteral("Function Key 3")));
    EXPECT_EQ(defaults().stringForKey(QStringLiteral("Function Key 3")), QString());
}

TEST_F(PreferencesControllerTest, AChosenEditorIsStoredAndACancelledChoiceChangesNothing) {
    PreferencesController window;
    EXPECT_EQ(window.defaultEditorField()->text(), QStringLiteral("audacity"));
    window.setEditorChooser([](QWidget*) { return QStringLiteral("\"/opt/My Editor/edit\" -x"); });
    window.selectEditorButtonPushed();
    EXPECT_EQ(defaults().stringForKey(QStringLiteral("Default Editor")),
              QStringLiteral("\"/opt/My Editor/edit\" -x"));
    EXPECT_EQ(window.defaultEditorField()->text(), QStringLiteral("\"/opt/My Editor/edit\" -x"));
    window.setEditorChooser([](QWidget*) { return QString(); });
    window.selectEditorButtonPushed();
    EXPECT_EQ(defaults().stringForKey(QStringLiteral("Default Editor")),
              QStringLiteral("\"/opt/My Editor/edit\" -x"));
}

// ---- Check boxes ----

TEST_F(PreferencesControllerTest, CheckBoxesFollowTheirDefaultsBothWays) {
    PreferencesController window;
    const QStringList keys{"Read ID3 Tags", "Should Open Untitled Preset", "Lock Window Positions",
                           "Use GPI", "Fader Stop In Cue Mode"};
    for (const QString& key : keys) {
        QCheckBox* box = window.checkBoxForKey(key);
        ASSERT_NE(box, nullptr) << key.toStdString();
        EXPECT_EQ(box->isChecked(), defaults().boolForKey(key)) << key.toStdString();
        const bool before = box->isChecked();
        QTest::mouseClick(box, Qt::LeftButton);
        EXPECT_EQ(defaults().objectForKey(key), QVariant(!before)) << key.toStdString();
        defaults().setObject(before, key); // changed elsewhere
        EXPECT_EQ(box->isChecked(), before) << key.toStdString();
    }
}

// ---- GPI box ----

TEST_F(PreferencesControllerTest, TheGpiPopUpListsTheConnectedBoxesAndStoresTheChosenOne) {
    {
        PreferencesController window; // no GPI manager: nothing to choose
        EXPECT_EQ(window.kestrelsPopUpButton()->count(), 0);
    }
    ConnectedBoxes boxes;
    boxes.serials = {"00001A2B", "00003C4D"};
    StudioServices::setGpiTallyLines(&boxes);
    defaults().setObject(QStringLiteral("00003C4D"), QStringLiteral("Kestrel Serial Number"));
    PreferencesController window;
    QComboBox* popUp = window.kestrelsPopUpButton();
    ASSERT_EQ(popUp->count(), 2);
    EXPECT_EQ(popUp->currentText(), QStringLiteral("00003C4D"));

    popUp->setCurrentIndex(0);
    emit popUp->activated(0);
    EXPECT_EQ(defaults().stringForKey(QStringLiteral("Kestrel Serial Number")),
              QStringLiteral("00001A2B"));

    // A box plugged in later shows when the window is brought up again; a stored box
    // that is gone selects nothing, and nothing is stored for it.
    boxes.serials = {"00005E6F"};
    window.showWindow();
    EXPECT_EQ(popUp->count(), 1);
    EXPECT_EQ(popUp->currentIndex(), -1);
    EXPECT_EQ(defaults().stringForKey(QStringLiteral("Kestrel Serial Number")),
              QStringLiteral("00001A2B"));
    window.close();
}

// ---- Outputs ----

TEST_F(PreferencesControllerTest, TheOutputsPageHasNineBlocksAndNeverListsPreListen) {
    PreferencesController window;
    QComboBox* popUp = window.outputsPopUpButton();
    ASSERT_EQ(popUp->count(), 8);
    for (int item = 0; item < popUp->count(); ++item) {
        EXPECT_EQ(popUp->itemText(item), QStringLiteral("Output %1").arg(item + 1));
    }
    ASSERT_NE(window.outputCell(8), nullptr);
    EXPECT_EQ(window.outputCell(8)->outputCellName(),
              QStringLiteral("Pre-Listening Output Settings"));
    EXPECT_EQ(window.outputCell(8)->outputNameTextField()->text(), QStringLiteral("Pre-listen"));
    EXPECT_EQ(window.outputCell(9), nullptr);
}

TEST_F(PreferencesControllerTest, ChoosingAnOutputMarksItsBlockAndChangesAreSavedAtOnce) {
    PreferencesController window;
    window.resize(720, 640);
    window.show();
    window.tabView()->setCurrentIndex(2);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    QComboBox* popUp = window.outputsPopUpButton();
    popUp->setCurrentIndex(6);
    emit popUp->activated(6);
    QTest::qWait(20);
    EXPECT_TRUE(window.outputMark()->isVisible());
    EXPECT_EQ(window.outputMark()->geometry(), window.outputCell(6)->geometry());
    EXPECT_FALSE(window.outputCell(6)->visibleRegion().isEmpty());
    saveScreenshot(window, QStringLiteral("preferences-outputs"));

    OutputSettingsCell* cell = window.outputCell(6);
    QComboBox* device = cell->devicePopUpButton();
    device->setCurrentIndex(device->findText(kFourChannelDevice));
    emit device->activated(device->currentIndex());
    cell->leftOutputChannelPopUpButton()->setCurrentIndex(2);
    emit cell->leftOutputChannelPopUpButton()->activated(2);
    EXPECT_EQ(storedOutput(6).value(QorvinPrefLeftChannelOutputTag), QVariant(65538));
    EXPECT_EQ(storedOutput(6).value(QorvinPrefDeviceName), QVariant(kFourChannelDevice));

    window.tabView()->setCurrentIndex(0);
    QTest::qWait(20);
    saveScreenshot(window, QStringLiteral("preferences-general"));
    window.tabView()->setCurrentIndex(1);
    QTest::qWait(20);
    saveScreenshot(window, QStringLiteral("preferences-function-keys"));
    window.close();
}

} // namespace
