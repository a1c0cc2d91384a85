// The clock-time and count-down formatters: the biased display rounding, the range
// replacement, the typed-text limits and the count-down colours.

#include "editing/CCountdownFormatter.h"
#include "editing/CTimeFormatter.h"
#include "tests/support/QtPrinters.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

const QString refusal = QStringLiteral("Couldn't convert to time");

struct Parsed {
    bool accepted = false;
    QVariant value;
    QString error;
};

Parsed parse(const CFormatter& formatter, const QString& text) {
    Parsed result;
    result.value = QVariant(QStringLiteral("untouched"));
    result.error = QStringLiteral("stale message");
    result.accepted = formatter.getObjectValue(&result.value, text, &result.error);
    return result;
}

void expectColor(const QColor& color, double red, double green, double blue) {
    EXPECT_NEAR(color.redF(), red, 1e-3);
    EXPECT_NEAR(color.greenF(), green, 1e-3);
    EXPECT_NEAR(color.blueF(), blue, 1e-3);
    EXPECT_NEAR(color.alphaF(), 1.0, 1e-6);
}

void expectDarkGrey(const QColor& color) {
    expectColor(color, 0.25, 0.25, 0.25);
}
void expectAmber(const QColor& color) {
    expectColor(color, 1.0, 0.84, 0.0);
}
void expectRed(const QColor& color) {
    expectColor(color, 1.0, 0.0, 0.0);
}

} // namespace

TEST(TimeFormatterDisplay, ShowsOneSecondMoreOnlyPastSixTenths) {
    const CTimeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(59.6), "00:00:59");
    EXPECT_EQ(formatter.stringForObjectValue(59.7), "00:01:00");
    EXPECT_EQ(formatter.stringForObjectValue(3599.5), "00:59:59");
    // 3599.6 in single precision is a hair above it, so the bias carries it over the hour.
    EXPECT_EQ(formatter.stringForObjectValue(3599.6), "01:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(0.59), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(0.61), "00:00:01");
}

TEST(TimeFormatterDisplay, SplitsHoursMinutesSecondsOfAnyNumberType) {
    const CTimeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(3723), "01:02:03");
    EXPECT_EQ(formatter.stringForObjectValue(75.0f), "00:01:15");
    EXPECT_EQ(formatter.stringForObjectValue(true), "00:00:01");
    EXPECT_EQ(formatter.stringForObjectValue(359999.0), "99:59:59");
    EXPECT_EQ(formatter.stringForObjectValue(0), "00:00:00");
}

TEST(TimeFormatterDisplay, OutOfRangeAndNegativePartsShowAsZero) {
    const CTimeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(360000.0), "00:00:00"); // 100 hours
    EXPECT_EQ(formatter.stringForObjectValue(363723.0), "00:02:03"); // 101 h 2 min 3 s
    EXPECT_EQ(formatter.stringForObjectValue(-5.0), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(-0.3), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(-3725.0), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(1.0e20), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(std::nan("")), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(std::numeric_limits<double>::infinity()), "00:00:00");
}

TEST(TimeFormatterDisplay, NonNumbersShowNothing) {
    const CTimeFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(QVariant()), "");
    EXPECT_EQ(formatter.stringForObjectValue(QString("12")), "");
    EXPECT_EQ(formatter.stringForObjectValue(QVariantMap()), "");
}

TEST(TimeFormatterTyping, AcceptsFieldsUpToTwentyThree) {
    const CTimeFormatter formatter;
    const Parsed parsed = parse(formatter, "23:23:23");
    ASSERT_TRUE(parsed.accepted);
    EXPECT_EQ(parsed.value.typeId(), QMetaType::Float);
    EXPECT_FLOAT_EQ(parsed.value.toFloat(), 23 * 3600 + 23 * 60 + 23);
    EXPECT_TRUE(parsed.error.isNull());

    EXPECT_FLOAT_EQ(parse(formatter, "1:2:3").value.toFloat(), 3723.0f);
    EXPECT_FLOAT_EQ(parse(formatter, " 00:00:00").value.toFloat(), 0.0f);
    // sscanf stops after the third field; trailing text does not matter.
    EXPECT_FLOAT_EQ(parse(formatter, "12:13:14 later").value.toFloat(), 12 * 3600 + 13 * 60 + 14);
}

TEST(TimeFormatterTyping, RefusesMinutesOrSecondsAboveTwentyThree) {
    const CTimeFormatter formatter;
    for (const char* text : {"00:24:00", "00:00:30", "12:30:00", "24:00:00"}) {
        SCOPED_TRACE(text);
        const Parsed parsed = parse(formatter, text);
        EXPECT_FALSE(parsed.accepted);
        EXPECT_EQ(parsed.error, refusal);
        EXPECT_EQ(parsed.value.toString(), "untouched");
    }
}

TEST(TimeFormatterTyping, RefusesMalformedAndNegativeText) {
    const CTimeFormatter formatter;
    for (const char* text : {"", "abc", "12:13", "123:00:00", "-1:00:00", "1;2;3", "::"}) {
        SCOPED_TRACE(text);
        const Parsed parsed = parse(formatter, text);
        EXPECT_FALSE(parsed.accepted);
        EXPECT_EQ(parsed.error, refusal);
    }
}

TEST(TimeFormatterTyping, NullPointersAreAllowed) {
    const CTimeFormatter formatter;
    EXPECT_TRUE(formatter.getObjectValue(nullptr, "01:02:03", nullptr));
    EXPECT_FALSE(formatter.getObjectValue(nullptr, "bad", nullptr));
}

TEST(CountdownDisplay, ShowsUpToOneHourAndDashesBeyond) {
    const CCountdownFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(3600.0), "01:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(3601.0), "--:--:--");
    EXPECT_EQ(formatter.stringForObjectValue(3600.3), "--:--:--"); // rounds to 3601
    EXPECT_EQ(formatter.stringForObjectValue(125), "00:02:05");
    EXPECT_EQ(formatter.stringForObjectValue(std::numeric_limits<double>::infinity()), "--:--:--");
}

TEST(CountdownDisplay, NothingCountingShowsZeros) {
    const CCountdownFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(0.0), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(-5.0), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(0.05), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(std::nan("")), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(QString("10")), "00:00:00");
    EXPECT_EQ(formatter.stringForObjectValue(QVariant()), "00:00:00");
}

TEST(CountdownColors, GreyAmberRedByTruncatedSeconds) {
    expectDarkGrey(CCountdownFormatter::colorForObjectValue(30));
    expectDarkGrey(CCountdownFormatter::colorForObjectValue(3000.0));
    expectAmber(CCountdownFormatter::colorForObjectValue(29));
    expectAmber(CCountdownFormatter::colorForObjectValue(29.9)); // truncated, not rounded
    expectAmber(CCountdownFormatter::colorForObjectValue(10));
    expectRed(CCountdownFormatter::colorForObjectValue(9));
    expectRed(CCountdownFormatter::colorForObjectValue(9.9));
    expectRed(CCountdownFormatter::colorForObjectValue(1));
    expectDarkGrey(CCountdownFormatter::colorForObjectValue(0));
    expectDarkGrey(CCountdownFormatter::colorForObjectValue(0.7));  // truncates to 0
    expectDarkGrey(CCountdownFormatter::colorForObjectValue(-0.7)); // toward zero, so 0
    expectRed(CCountdownFormatter::colorForObjectValue(-5));
    expectRed(CCountdownFormatter::colorForObjectValue(-1.5));
}

TEST(CountdownColors, TextAndColourComeFromDifferentRoundings) {
    const CCountdownFormatter formatter;
    const auto nearlyTen = formatter.attributedStringForObjectValue(9.9);
    EXPECT_EQ(nearlyTen.text, "00:00:10");
    expectRed(nearlyTen.color);

    const auto overrun = formatter.attributedStringForObjectValue(-5.0);
    EXPECT_EQ(overrun.text, "00:00:00");
    expectRed(overrun.color);

    const auto halfMinute = formatter.attributedStringForObjectValue(29.9);
    EXPECT_EQ(halfMinute.text, "00:00:30");
    expectAmber(halfMinute.color);
}

TEST(CountdownTyping, ReadsALeadingWholeNumber) {
    const CCountdownFormatter formatter;
    const Parsed parsed = parse(formatter, "45");
    ASSERT_TRUE(parsed.accepted);
    EXPECT_EQ(parsed.value.typeId(), QMetaType::Int);
    EXPECT_EQ(parsed.value.toInt(), 45);
    EXPECT_TRUE(parsed.error.isNull());
    EXPECT_EQ(parse(formatter, " -3").value.toInt(), -3);
    EXPECT_EQ(parse(formatter, "1:30").value.toInt(), 1);
    EXPECT_EQ(parse(formatter, "12abc").value.toInt(), 12);
}

TEST(CountdownTyping, RefusesTextWithoutANumber) {
    const CCountdownFormatter formatter;
    for (const char* text : {"", "   ", "abc", "--:--:--", "+"}) {
        SCOPED_TRACE(text);
        const Parsed parsed = parse(formatter, text);
        EXPECT_FALSE(parsed.accepted);
        EXPECT_EQ(parsed.error, refusal);
        EXPECT_EQ(parsed.value.toString(), "untouched");
    }
}
