// The timecode and level formatters and frame rounding: snapping to frames, the display
// and typing limits (which differ on purpose), and decibel text of linear gains.

#include "editing/CDBFormatter.h"
#include "editing/CTimeCodeFormatter.h"
#include "editing/RoundToUnit.h"
#include "tests/support/QtPrinters.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>

namespace {

double typedSeconds(const CTimeCodeFormatter& formatter, const QString& text) {
    QVariant value;
    QString error = QStringLiteral("stale message");
    EXPECT_TRUE(formatter.getObjectValue(&value, text, &error));
    EXPECT_TRUE(error.isNull()) << "error not cleared for " << text.toStdString();
    return value.toDouble();
}

// What the formatter returns: seconds rounded to single precision.
double singlePrecision(double seconds) {
    return static_cast<double>(static_cast<float>(seconds));
}

double typedGain(const QString& text) {
    QVariant value;
    QString error = QStringLiteral("left alone");
    EXPECT_TRUE(CDBFormatter().getObjectValue(&value, text, &error));
    EXPECT_EQ(error, "left alone");
    EXPECT_EQ(value.typeId(), QMetaType::Double);
    return value.toDouble();
}

} // namespace

TEST(RoundToUnit, NearestMultipleWithHalvesAwayFromZero) {
    EXPECT_DOUBLE_EQ(RoundToUnit(0.5, 1.0), 1.0);
    EXPECT_DOUBLE_EQ(RoundToUnit(-0.5, 1.0), -1.0);
    EXPECT_DOUBLE_EQ(RoundToUnit(2.5, 1.0), 3.0);
    EXPECT_DOUBLE_EQ(RoundToUnit(7.0, 5.0), 5.0);
    EXPECT_DOUBLE_EQ(RoundToUnit(7.5, 5.0), 10.0);
    EXPECT_DOUBLE_EQ(RoundToUnit(0.26, 0.25), 0.25);
    EXPECT_DOUBLE_EQ(RoundToUnit(0.5, 1.0 / 29.97), 15.0 / 29.97);
}

TEST(RoundToUnit, UnrepresentableQuotientRoundsToTheLongMinimum) {
    EXPECT_DOUBLE_EQ(RoundToUnit(std::nan(""), 1.0), static_cast<double>(LONG_MIN));
    EXPECT_DOUBLE_EQ(RoundToUnit(1.0e300, 1.0), static_cast<double>(LONG_MIN));
}

TEST(TimeCodeDisplay, SnapsTheFractionToFrames) {
    const CTimeCodeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(1.5), "00:00:01:15");
    EXPECT_EQ(formatter.stringForObjectValue(3723.0 + 4.0 / 29.97), "01:02:03:04");
    EXPECT_EQ(formatter.stringForObjectValue(0.966), "00:00:00:29");
    EXPECT_EQ(formatter.stringForObjectValue(0.001), "00:00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(true), "00:00:01:00");
    EXPECT_EQ(formatter.stringForObjectValue(359999.5), "99:59:59:15");
}

TEST(TimeCodeDisplay, FrameEqualToTheRateShowsButAboveItIsZero) {
    CTimeCodeFormatter formatter;
    formatter.setFramesPerSecond(30.0);
    EXPECT_EQ(formatter.stringForObjectValue(0.99), "00:00:00:30");
    formatter.setFramesPerSecond(29.97);
    EXPECT_EQ(formatter.stringForObjectValue(0.99), "00:00:00:00"); // 30 frames > 29.97
}

TEST(TimeCodeDisplay, ZeroShowsOnlyWhenAsked) {
    CTimeCodeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(0.0), "00:00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(0), "00:00:00:00");
    formatter.setDisplayZero(false);
    EXPECT_EQ(formatter.stringForObjectValue(0.0), "");
    EXPECT_EQ(formatter.stringForObjectValue(0.001), "00:00:00:00");
}

TEST(TimeCodeDisplay, OutOfRangeValues) {
    const CTimeCodeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(360000.0), "00:00:00:00"); // 100 hours
    EXPECT_EQ(formatter.stringForObjectValue(-0.5), "00:00:00:00");     // negative frames
    // Whole seconds are an unsigned 32-bit count: -1 s is 4294967295 s, whose hours are
    // out of range and whose minutes and seconds are 28:15.
    EXPECT_EQ(formatter.stringForObjectValue(-1.5), "00:28:15:00");
    EXPECT_EQ(formatter.stringForObjectValue(std::nan("")), "00:00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(QString("1.5")), "");
    EXPECT_EQ(formatter.stringForObjectValue(QVariant()), "");
}

TEST(TimeCodeDisplay, UnusableRateShowsNoFrames) {
    CTimeCodeFormatter formatter;
    formatter.setFramesPerSecond(0.0);
    EXPECT_EQ(formatter.stringForObjectValue(2.5), "00:00:02:00");
}

TEST(TimeCodeTyping, DigitsReadTwoAtATimeFromTheLeft) {
    const CTimeCodeFormatter formatter;
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "01020304"), singlePrecision(3723.0 + 4.0 / 29.97));
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "1:2:3:4"), singlePrecision(3723.0 + 4.0 / 29.97));
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "123"), singlePrecision(12.0 + 3.0 / 29.97));
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "1:2:3:4:5"), singlePrecision(3723.0 + 4.0 / 29.97));
}

TEST(TimeCodeTyping, FieldsAreTakenFromTheRight) {
    const CTimeCodeFormatter formatter;
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "5"), singlePrecision(5.0 / 29.97));
    EXPECT_NEAR(typedSeconds(formatter, "5"), 0.1668, 1e-4);
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "29"), singlePrecision(29.0 / 29.97));
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "10:05"), singlePrecision(10.0 + 5.0 / 29.97));
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "2:10:05"), singlePrecision(130.0 + 5.0 / 29.97));
}

TEST(TimeCodeTyping, FieldsOutOfRangeBecomeZero) {
    CTimeCodeFormatter formatter;
    EXPECT_EQ(typedSeconds(formatter, "45"), 0.0);     // 45 frames is at least the rate
    EXPECT_EQ(typedSeconds(formatter, "12:34"), 12.0); // 34 frames likewise
    EXPECT_EQ(typedSeconds(formatter, "24:00:00:00"), 0.0);
    EXPECT_EQ(typedSeconds(formatter, "23:60:61:00"), 23.0 * 3600);
    EXPECT_DOUBLE_EQ(typedSeconds(formatter, "23:59:59:29"),
                     singlePrecision(86399.0 + 29.0 / 29.97));
    formatter.setFramesPerSecond(30.0);
    EXPECT_EQ(typedSeconds(formatter, "30"), 0.0); // typed frame equal to the rate is refused
}

TEST(TimeCodeTyping, NegativeFieldsAreKept) {
    const CTimeCodeFormatter formatter;
    EXPECT_EQ(typedSeconds(formatter, "-5:00"), -5.0);
    EXPECT_EQ(typedSeconds(formatter, "01:-1:00:00"), 3600.0 - 60.0);
}

TEST(TimeCodeTyping, TextWithoutDigitsIsZero) {
    const CTimeCodeFormatter formatter;
    QVariant value;
    ASSERT_TRUE(formatter.getObjectValue(&value, "", nullptr));
    EXPECT_EQ(value.typeId(), QMetaType::Float);
    EXPECT_EQ(value.toDouble(), 0.0);
    for (const char* text : {"abc", "   ", ":", "xx:yy"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(typedSeconds(formatter, text), 0.0);
    }
}

TEST(LevelDisplay, ShowsDecibelsWithOneDecimal) {
    const CDBFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(0.0), "-inf");
    EXPECT_EQ(formatter.stringForObjectValue(0), "-inf");
    EXPECT_EQ(formatter.stringForObjectValue(0.5), "-6.0");
    EXPECT_EQ(formatter.stringForObjectValue(1.0), "0.0");
    EXPECT_EQ(formatter.stringForObjectValue(1), "0.0");
    EXPECT_EQ(formatter.stringForObjectValue(2.0), "6.0");
    EXPECT_EQ(formatter.stringForObjectValue(0.1), "-20.0");
    EXPECT_EQ(formatter.stringForObjectValue(0.6f), "-4.4");
    EXPECT_EQ(formatter.stringForObjectValue(QString("0.5")), "");
}

TEST(LevelTyping, ReadsDecibelsLeniently) {
    EXPECT_NEAR(typedGain("-6"), 0.501187, 1e-6);
    EXPECT_DOUBLE_EQ(typedGain("0"), 1.0);
    EXPECT_NEAR(typedGain("6.0"), 1.995262, 1e-6);
    EXPECT_NEAR(typedGain(" -20 dB"), 0.1, 1e-12);
    EXPECT_DOUBLE_EQ(typedGain("loud"), 1.0); // no leading number reads as 0 dB
    EXPECT_DOUBLE_EQ(typedGain("-inf"), 1.0);
}

TEST(LevelTyping, MinusNinetyNineIsSilence) {
    EXPECT_EQ(typedGain("-99"), 0.0);
    EXPECT_EQ(typedGain("-99.0"), 0.0);
    EXPECT_EQ(typedGain("-99dB"), 0.0);
    EXPECT_GT(typedGain("-98.9"), 0.0);
    EXPECT_GT(typedGain("-99.5"), 0.0);
}

TEST(LevelTyping, DisplayedTextReadsBackToTheSameLevel) {
    const CDBFormatter formatter;
    for (double gain : {0.25, 0.5, 0.6, 1.0, 1.5}) {
        SCOPED_TRACE(gain);
        EXPECT_NEAR(typedGain(formatter.stringForObjectValue(gain)), gain, gain * 0.012);
    }
}
