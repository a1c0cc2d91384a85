// Lenient reading of numbers stored or typed as text, and the number checks the
// formatters rely on.

#include "clip/ValueConversion.h"
#include "tests/support/QtPrinters.h"

#include <QByteArray>
#include <QVariantMap>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

TEST(LeadingDoubleValue, ReadsTheLongestLeadingNumber) {
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"-6"), -6.0);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"  -6.5dB"), -6.5);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"\t+3"), 3.0);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u".25"), 0.25);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"4."), 4.0);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"1e3"), 1000.0);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"2.5E-1x"), 0.25);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"7e"), 7.0); // exponent without digits is ignored
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"7e+"), 7.0);
    EXPECT_DOUBLE_EQ(leadingDoubleValue(u"1.5.3"), 1.5);
}

TEST(LeadingDoubleValue, TextWithoutALeadingNumberReadsZero) {
    for (const char16_t* text :
         {u"", u"   ", u"abc", u"-inf", u"inf", u"nan", u"-", u".", u"+.", u"x12", u"0x1A"}) {
        SCOPED_TRACE(QString::fromUtf16(text).toStdString());
        const double value = leadingDoubleValue(text);
        EXPECT_EQ(value, 0.0);
    }
}

TEST(LeadingDoubleValue, OverflowBecomesInfinity) {
    EXPECT_EQ(leadingDoubleValue(u"1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(leadingDoubleValue(u"-1e999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(leadingDoubleValue(u"1e-999"), 0.0);
}

TEST(LeadingIntValue, ReadsSignAndDigitsAndSaturates) {
    EXPECT_EQ(leadingIntValue(u"42"), 42);
    EXPECT_EQ(leadingIntValue(u" -12x"), -12);
    EXPECT_EQ(leadingIntValue(u"3.7"), 3);
    EXPECT_EQ(leadingIntValue(u"+8"), 8);
    EXPECT_EQ(leadingIntValue(u"abc"), 0);
    EXPECT_EQ(leadingIntValue(u"- 4"), 0);
    EXPECT_EQ(leadingIntValue(u"2147483647"), std::numeric_limits<int>::max());
    EXPECT_EQ(leadingIntValue(u"99999999999999999999"), std::numeric_limits<int>::max());
    EXPECT_EQ(leadingIntValue(u"-2147483648"), std::numeric_limits<int>::min());
    EXPECT_EQ(leadingIntValue(u"-99999999999999999999"), std::numeric_limits<int>::min());
}

TEST(LeadingBoolValue, YesTrueOrANonZeroDigit) {
    EXPECT_TRUE(leadingBoolValue(u"YES"));
    EXPECT_TRUE(leadingBoolValue(u"  yes"));
    EXPECT_TRUE(leadingBoolValue(u"true"));
    EXPECT_TRUE(leadingBoolValue(u"T"));
    EXPECT_TRUE(leadingBoolValue(u"007"));
    EXPECT_TRUE(leadingBoolValue(u"-1"));
    EXPECT_FALSE(leadingBoolValue(u"NO"));
    EXPECT_FALSE(leadingBoolValue(u"false"));
    EXPECT_FALSE(leadingBoolValue(u"0"));
    EXPECT_FALSE(leadingBoolValue(u"000"));
    EXPECT_FALSE(leadingBoolValue(u"0.9")); // the point stops the scan
    EXPECT_FALSE(leadingBoolValue(u""));
}

TEST(NumberValues, OnlyNumbersCount) {
    EXPECT_TRUE(isNumberValue(QVariant(true)));
    EXPECT_TRUE(isNumberValue(QVariant(3)));
    EXPECT_TRUE(isNumberValue(QVariant(3.5)));
    EXPECT_TRUE(isNumberValue(QVariant(1.5f)));
    EXPECT_TRUE(isNumberValue(QVariant(qlonglong(1) << 40)));
    EXPECT_FALSE(isNumberValue(QVariant()));
    EXPECT_FALSE(isNumberValue(QVariant(QString("3"))));
    EXPECT_FALSE(isNumberValue(QVariant(QByteArray("3"))));
    EXPECT_FALSE(isNumberValue(QVariant(QVariantMap())));
}

TEST(NumberValues, WideIntegersSaturateWhenReadAsInt) {
    EXPECT_EQ(intFromValue(QVariant(qlonglong(1) << 40)), std::numeric_limits<int>::max());
    EXPECT_EQ(intFromValue(QVariant(-(qlonglong(1) << 40))), std::numeric_limits<int>::min());
    EXPECT_EQ(intFromValue(QVariant(std::numeric_limits<qulonglong>::max())),
              std::numeric_limits<int>::max());
    EXPECT_EQ(intFromValue(QVariant(std::nan(""))), 0);
    EXPECT_EQ(intFromValue(QVariant(-1.0e300)), std::numeric_limits<int>::min());
}
