// The output settings record: its keys, the nine factory records and the colour archive.

#include "clip/OutputSettings.h"
#include "tests/support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(DefaultOutputSettings, NamesTheEightOutputsAndPreListen) {
    for (int index = 0; index < 8; ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(defaultOutputSettings(index).value("Output Name").toString(),
                  QString("Output %1").arg(index + 1));
    }
    EXPECT_EQ(defaultOutputSettings(8).value("Output Name").toString(), "Pre-listen");
}

TEST(DefaultOutputSettings, EveryRecordPlaysOnTheFirstTwoChannelsOfTheDefaultDevice) {
    for (int index = 0; index < outputSettingsCount; ++index) {
        SCOPED_TRACE(index);
        const QVariantMap record = defaultOutputSettings(index);
        // Literal key strings: the preferences file and older records use them.
        EXPECT_EQ(outputSettingsKey(index), QString("Output Settings %1").arg(index));
        EXPECT_EQ(record.size(), 5);
        EXPECT_EQ(record.value("Device Name").toString(), "Built-in Output");
        const QVariant left = record.value("Left Channel Output Tag");
        const QVariant right = record.value("Right Channel Output Tag");
        EXPECT_EQ(left.typeId(), QMetaType::Int);
        EXPECT_EQ(right.typeId(), QMetaType::Int);
        EXPECT_EQ(left.toInt(), 65536);
        EXPECT_EQ(right.toInt(), 65537);
        EXPECT_EQ(record.value("Output Color").typeId(), QMetaType::QByteArray);
        EXPECT_EQ(outputColor(record), defaultOutputColor(index));
    }
}

TEST(DefaultOutputSettings, IndexOutsideTheNineOutputsHasNoRecord) {
    EXPECT_TRUE(defaultOutputSettings(-1).isEmpty());
    EXPECT_TRUE(defaultOutputSettings(9).isEmpty());
    EXPECT_FALSE(defaultOutputColor(9).isValid());
}

TEST(DefaultOutputColors, FollowTheOutputOrder) {
    EXPECT_EQ(defaultOutputColor(1), QColor(255, 0, 0));
    EXPECT_EQ(defaultOutputColor(2), QColor(255, 128, 0));
    EXPECT_EQ(defaultOutputColor(3), QColor(255, 255, 0));
    EXPECT_EQ(defaultOutputColor(4), QColor(0, 255, 0));
    EXPECT_EQ(defaultOutputColor(5), QColor(0, 0, 255));
    EXPECT_EQ(defaultOutputColor(6), QColor(128, 0, 128));
    EXPECT_EQ(defaultOutputColor(7), QColor(153, 102, 51));
    EXPECT_EQ(defaultOutputColor(8), QColor(255, 255, 255));
    // Output 0 is unmarked: an opaque neutral grey, the same on every machine.
    const QColor unmarked = defaultOutputColor(0);
    ASSERT_TRUE(unmarked.isValid());
    EXPECT_EQ(unmarked.red(), unmarked.green());
    EXPECT_EQ(unmarked.green(), unmarked.blue());
    EXPECT_GT(unmarked.red(), 128);
    EXPECT_LT(unmarked.red(), 255);
    EXPECT_EQ(unmarked.alpha(), 255);
    EXPECT_EQ(defaultOutputSettings(0), defaultOutputSettings(0));
}

TEST(ColorArchive, StoresReadableHexWithAlphaLast) {
    EXPECT_EQ(archiveColor(QColor(255, 128, 0)), "#FF8000FF");
    EXPECT_EQ(archiveColor(QColor(1, 2, 3, 4)), "#01020304");
    EXPECT_TRUE(archiveColor(QColor()).isEmpty());
}

TEST(ColorArchive, RoundTripsEveryComponentExactly) {
    for (const QColor& color : {QColor(0, 0, 0, 0), QColor(255, 255, 255), QColor(10, 200, 37, 128),
                                QColor(153, 102, 51), QColor(1, 254, 16, 15)}) {
        SCOPED_TRACE(color.name(QColor::HexArgb).toStdString());
        const QColor back = unarchiveColor(archiveColor(color));
        ASSERT_TRUE(back.isValid());
        EXPECT_EQ(back.rgba(), color.rgba());
    }
    EXPECT_EQ(unarchiveColor("#ff8000ff"), QColor(255, 128, 0)); // lower case reads too
}

TEST(ColorArchive, MalformedDataReadsAsNoColour) {
    for (const QByteArray& bad :
         {QByteArray(), QByteArray("#FF8000"), QByteArray("FF8000FF0"), QByteArray("#FF8000FG"),
          QByteArray("#FF8000FF "), QByteArray("red"), QByteArray("#-F8000FF"),
          QByteArray("\x00\x01\x02\x03\x04\x05\x06\x07\x08", 9)}) {
        SCOPED_TRACE(bad.toStdString());
        EXPECT_FALSE(unarchiveColor(bad).isValid());
    }
}

TEST(ColorArchive, RecordWithoutAnArchivedColourHasNoColour) {
    EXPECT_FALSE(outputColor({}).isValid());
    EXPECT_FALSE(outputColor({{QorvinPrefOutputColor, QString("#FF0000FF")}}).isValid());
    EXPECT_FALSE(outputColor({{QorvinPrefOutputColor, 0xFF0000}}).isValid());
    EXPECT_EQ(outputColor({{QorvinPrefOutputColor, QByteArray("#00FF00FF")}}), QColor(0, 255, 0));
}
