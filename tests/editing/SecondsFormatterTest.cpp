// Seconds as the clip settings editor shows and reads them: millisecond precision,
// hours only when needed, negative lengths, and typed minutes and seconds.

#include "editing/CSecondsFormatter.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

QString shown(const QVariant& value) {
    return CSecondsFormatter().stringForObjectValue(value);
}

// The seconds read from `text`, or NaN when refused.
double read(const QString& text, QString* error = nullptr) {
    QVariant value;
    if (!CSecondsFormatter().getObjectValue(&value, text, error)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    EXPECT_EQ(value.typeId(), QMetaType::Double);
    return value.toDouble();
}

TEST(CSecondsFormatter, ShowsMinutesSecondsAndMilliseconds) {
    EXPECT_EQ(shown(0.0), "0:00.000");
    EXPECT_EQ(shown(59.9996), "1:00.000");
    EXPECT_EQ(shown(83.456), "1:23.456");
    EXPECT_EQ(shown(3723.5), "1:02:03.500");
    EXPECT_EQ(shown(-10.0), "-0:10.000");
    EXPECT_EQ(shown(-0.0004), "0:00.000"); // rounds to zero: no sign
    EXPECT_EQ(shown(2), "0:02.000");       // integers and floats are numbers too
    EXPECT_EQ(shown(1.5f), "0:01.500");
    EXPECT_EQ(shown(QStringLiteral("12")), "");
    EXPECT_EQ(shown(QVariant()), "");
    EXPECT_EQ(shown(std::numeric_limits<double>::infinity()), "");
}

TEST(CSecondsFormatter, ReadsSecondsMinutesAndHours) {
    EXPECT_DOUBLE_EQ(read("90"), 90.0);
    EXPECT_DOUBLE_EQ(read(" 1:30 "), 90.0);
    EXPECT_DOUBLE_EQ(read("1:30.25"), 90.25);
    EXPECT_DOUBLE_EQ(read("0:01:30"), 90.0);
    EXPECT_DOUBLE_EQ(read("2:00:00.5"), 7200.5);
    EXPECT_DOUBLE_EQ(read("-0:10"), -10.0);
    EXPECT_DOUBLE_EQ(read("7."), 7.0);
    EXPECT_DOUBLE_EQ(read(".5"), 0.5);
    EXPECT_DOUBLE_EQ(read(shown(1234.567)), 1234.567);
}

TEST(CSecondsFormatter, RefusesWhatIsNotATime) {
    QString error;
    for (const QString text : {"", "abc", "1:60", "1:75:00", "1:2:3:4", "1,5", "--3", ".", "1:"}) {
        error.clear();
        EXPECT_TRUE(std::isnan(read(text, &error))) << text.toStdString();
        EXPECT_EQ(error, QStringLiteral("Couldn't convert to time")) << text.toStdString();
    }
}

} // namespace
