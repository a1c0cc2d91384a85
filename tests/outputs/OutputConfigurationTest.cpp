// The output block of the preferences window writes its record at once; the output
// pop-ups and menus list the configured program outputs, never the pre-listen output,
// with names in their colours.

#include "clip/OutputSettings.h"
#include "foundation/UserDefaults.h"
#include "outputs/CColorWell.h"
#include "outputs/LegibleTextColor.h"
#include "outputs/OutputSettingsCell.h"
#include "tests/outputs/OutputsTestSupport.h"

#include <QAction>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QStringList itemTitles(const QComboBox& popUp) {
    QStringList titles;
    for (int item = 0; item < popUp.count(); ++item) {
        titles << popUp.itemText(item);
    }
    return titles;
}

QStringList actionTitles(const QMenu& menu) {
    QStringList titles;
    for (const QAction* action : menu.actions()) {
        titles << action->text();
    }
    return titles;
}

// Chooses item `index` of a pop-up as the operator does (the pop-up announces it).
void choose(QComboBox* popUp, int index) {
    popUp->setCurrentIndex(index);
    emit popUp->activated(index);
}

class OutputConfigurationTest : public OutputsFixture {};

// ---- Output pop-ups and menus ----

TEST_F(OutputConfigurationTest, FreshDefaultsListTheEightProgramOutputsAndNeverPreListen) {
    QComboBox popUp;
    OutputSettingsCell::loadPopUpButtonWithOutputs(&popUp, 3);
    const QStringList expected{"Output 1", "Output 2", "Output 3", "Output 4",
                               "Output 5", "Output 6", "Output 7", "Output 8"};
    EXPECT_EQ(itemTitles(popUp), expected);
    EXPECT_EQ(popUp.currentIndex(), 3);
    EXPECT_EQ(popUp.currentData().toInt(), 3);

    QMenu menu;
    OutputSettingsCell::loadMenuWithOutputs(&menu, &menu, [](int) {});
    EXPECT_EQ(actionTitles(menu), expected);

    // Refilling replaces the pop-up's items; a negative index selects nothing new.
    OutputSettingsCell::loadPopUpButtonWithOutputs(&popUp, -1);
    EXPECT_EQ(popUp.count(), 8);
}

TEST_F(OutputConfigurationTest, AnOutputWithoutANameIsUndefinedInPopUpsAndLeftOutOfMenus) {
    QVariantMap record = storedOutput(2);
    record.remove(QorvinPrefOutputName);
    storeOutput(2, record);
    QVariantMap blank = storedOutput(5);
    blank.insert(QorvinPrefOutputName, QStringLiteral("  "));
    storeOutput(5, blank);

    QComboBox popUp;
    OutputSettingsCell::loadPopUpButtonWithOutputs(&popUp, 2);
    EXPECT_EQ(popUp.itemText(2), QStringLiteral("Undefined output"));
    EXPECT_EQ(popUp.itemText(5), QStringLiteral("Undefined output"));
    EXPECT_EQ(popUp.currentIndex(), 2);

    QMenu menu;
    QList<int> chosen;
    OutputSettingsCell::loadMenuWithOutputs(&menu, &menu, [&](int output) { chosen << output; });
    ASSERT_EQ(menu.actions().size(), 6);
    EXPECT_FALSE(actionTitles(menu).contains(QStringLiteral("Output 3")));
    // Items carry their output numbers, not their places in the menu.
    QAction* seventh = menu.actions().at(4);
    EXPECT_EQ(seventh->text(), QStringLiteral("Output 7"));
    EXPECT_EQ(seventh->data().toInt(), 6);
    seventh->trigger();
    EXPECT_EQ(chosen, QList<int>{6});
}

TEST_F(OutputConfigurationTest, AMenuItemIsDrawnInItsOutputsColour) {
    QVariantMap record = storedOutput(1);
    record.insert(QorvinPrefOutputName, QStringLiteral("Studio & Air"));
    storeOutput(1, record);
    QVariantMap plain = storedOutput(3);
    plain.remove(QorvinPrefOutputColor);
    storeOutput(3, plain);

    QMenu menu;
    OutputSettingsCell::loadMenuWithOutputs(&menu, &menu, [](int) {});
    menu.resize(menu.sizeHint());
    const QImage image = menu.grab().toImage();
    const QRect red = menu.actionGeometry(menu.actions().at(1));
    const QRect uncoloured = menu.actionGeometry(menu.actions().at(3));
    EXPECT_GT(pixelsNear(image, red, QColor(255, 0, 0), 60), 10);
    EXPECT_EQ(pixelsNear(image, uncoloured, QColor(255, 0, 0), 60), 0);
    // An ampersand in a name is shown, not taken as a shortcut mark.
    EXPECT_EQ(menu.actions().at(1)->iconText(), QStringLiteral("Studio & Air"));

    // Refilled after the colour was taken away, the item is no longer red.
    record.remove(QorvinPrefOutputColor);
    storeOutput(1, record);
    menu.clear();
    OutputSettingsCell::loadMenuWithOutputs(&menu, &menu, [](int) {});
    const QImage again = menu.grab().toImage();
    EXPECT_EQ(pixelsNear(again, menu.actionGeometry(menu.actions().at(1)), QColor(255, 0, 0), 60),
              0);
}

TEST_F(OutputConfigurationTest, ColoursTooFaintToReadAreDarkenedKeepingTheirHue) {
    const QColor white(255, 255, 255);
    EXPECT_EQ(legibleTextColor(QColor(255, 0, 0), white), QColor(255, 0, 0));
    EXPECT_EQ(legibleTextColor(QColor(0, 0, 255), white), QColor(0, 0, 255));

    const QColor yellow = legibleTextColor(QColor(255, 255, 0), white);
    EXPECT_GE(contrastRatio(yellow, white), 3.0);
    EXPECT_NEAR(yellow.hueF(), QColor(255, 255, 0).hueF(), 0.02);
    EXPECT_LT(yellow.lightness(), 128);

    // On a dark background the same rule lightens.
    const QColor navy = legibleTextColor(QColor(0, 0, 128), QColor(30, 30, 30));
    EXPECT_GE(contrastRatio(navy, QColor(30, 30, 30)), 3.0);
    EXPECT_GT(navy.lightness(), QColor(0, 0, 128).lightness());
    EXPECT_FALSE(legibleTextColor(QColor(), white).isValid());
}

// ---- The output block ----

TEST_F(OutputConfigurationTest, TheBlockShowsTheStoredRecord) {
    OutputSettingsCell cell(4);
    EXPECT_EQ(cell.outputCellName(), QStringLiteral("Output 5"));
    EXPECT_EQ(cell.outputNameTextField()->text(), QStringLiteral("Output 5"));
    EXPECT_EQ(cell.devicePopUpButton()->currentText(), QStringLiteral("Built-in Output"));
    EXPECT_EQ(cell.labelColorWell()->color(), defaultOutputColor(4));
    EXPECT_EQ(cell.leftOutputChannelPopUpButton()->currentText(), QStringLiteral("Output 1"));
    EXPECT_EQ(cell.rightOutputChannelPopUpButton()->currentText(), QStringLiteral("Output 2"));
    EXPECT_EQ(cell.rightOutputChannelPopUpButton()->currentData().toInt(), 65537);
    EXPECT_TRUE(cell.devicePopUpButton()->findText(kFourChannelDevice) >= 0);
}

TEST_F(OutputConfigurationTest, AChannelChangeIsStoredAtOnce) {
    QVariantMap record = storedOutput(0);
    record.insert(QorvinPrefDeviceName, kFourChannelDevice);
    storeOutput(0, record);

    OutputSettingsCell cell(0);
    ASSERT_EQ(cell.leftOutputChannelPopUpButton()->count(), 4);
    choose(cell.leftOutputChannelPopUpButton(), 2);
    EXPECT_EQ(storedOutput(0).value(QorvinPrefLeftChannelOutputTag), QVariant(65538));
    EXPECT_EQ(storedOutput(0).value(QorvinPrefLeftChannelOutputTag).typeId(), QMetaType::Int);
    choose(cell.rightOutputChannelPopUpButton(), 3);

    // On disk, not just in memory.
    restart();
    EXPECT_EQ(storedOutput(0).value(QorvinPrefLeftChannelOutputTag).toInt(), 65538);
    EXPECT_EQ(storedOutput(0).value(QorvinPrefRightChannelOutputTag).toInt(), 65539);
    EXPECT_EQ(storedOutput(0).value(QorvinPrefOutputName).toString(), QStringLiteral("Output 1"));
}

TEST_F(OutputConfigurationTest, ChoosingADeviceListsItsChannelsAndKeepsTheChosenTags) {
    QVariantMap record = storedOutput(2);
    record.insert(QorvinPrefLeftChannelOutputTag, 65536 + 2);
    record.insert(QorvinPrefRightChannelOutputTag, 65536 + 3);
    storeOutput(2, record);

    OutputSettingsCell cell(2);
    // The default device has two channels, so the stored third channel is not listed.
    EXPECT_EQ(cell.leftOutputChannelPopUpButton()->count(), 2);
    EXPECT_EQ(cell.leftOutputChannelPopUpButton()->currentIndex(), 0);

    choose(cell.devicePopUpButton(), cell.devicePopUpButton()->findText(kFourChannelDevice));
    EXPECT_EQ(storedOutput(2).value(QorvinPrefDeviceName).toString(), kFourChannelDevice);
    EXPECT_EQ(cell.leftOutputChannelPopUpButton()->count(), 4);
    EXPECT_EQ(cell.leftOutputChannelPopUpButton()->currentText(), QStringLiteral("Output 3"));
    EXPECT_EQ(cell.rightOutputChannelPopUpButton()->currentText(), QStringLiteral("Output 4"));
    // Showing the list changed no tag.
    EXPECT_EQ(storedOutput(2).value(QorvinPrefLeftChannelOutputTag).toInt(), 65538);
}

TEST_F(OutputConfigurationTest, AMissingDeviceShowsAsBuiltInOutputWithoutBeingReplaced) {
    QVariantMap record = storedOutput(6);
    record.insert(QorvinPrefDeviceName, QStringLiteral("Unplugged Interface"));
    storeOutput(6, record);

    OutputSettingsCell cell(6);
    EXPECT_EQ(cell.devicePopUpButton()->currentText(), QStringLiteral("Built-in Output"));
    EXPECT_TRUE(cell.devicePopUpButton()->toolTip().contains("Unplugged Interface"));
    cell.outputNameTextField()->setText(QStringLiteral("Booth"));
    cell.outputNameTextField()->setModified(true);
    emit cell.outputNameTextField()->editingFinished();
    EXPECT_EQ(storedOutput(6).value(QorvinPrefOutputName).toString(), QStringLiteral("Booth"));
    EXPECT_EQ(storedOutput(6).value(QorvinPrefDeviceName).toString(),
              QStringLiteral("Unplugged Interface"));
}

TEST_F(OutputConfigurationTest, AChosenColourIsStoredArchived) {
    OutputSettingsCell cell(7);
    cell.labelColorWell()->setColorChooser([](const QColor& current, QWidget*) {
        return current.isValid() ? QColor(10, 200, 30) : QColor();
    });
    QTest::mouseClick(cell.labelColorWell(), Qt::LeftButton);
    EXPECT_EQ(storedOutput(7).value(QorvinPrefOutputColor).toByteArray(), QByteArray("#0AC81EFF"));
    EXPECT_EQ(cell.labelColorWell()->color(), QColor(10, 200, 30));

    // A cancelled chooser changes nothing.
    cell.labelColorWell()->setColorChooser([](const QColor&, QWidget*) { return QColor(); });
    QTest::mouseClick(cell.labelColorWell(), Qt::LeftButton);
    EXPECT_EQ(storedOutput(7).value(QorvinPrefOutputColor).toByteArray(), QByteArray("#0AC81EFF"));
}

TEST_F(OutputConfigurationTest, ABlockWithoutARecordIsDisabledAndWritesNothing) {
    UserDefaults fresh(path() + "/other");
    UserDefaults::setStandard(&fresh);
    OutputSettingsCell cell(3);
    EXPECT_FALSE(cell.box()->isEnabled());
    cell.saveSettings();
    choose(cell.leftOutputChannelPopUpButton(), 0);
    EXPECT_FALSE(fresh.hasObjectForKey(outputSettingsKey(3)));
    UserDefaults::setStandard(&defaults());
}

} // namespace
