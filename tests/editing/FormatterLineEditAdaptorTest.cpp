// A line edit served by a formatter: what the operator sees, what typing does to the
// value, and that a refused text stays for correction without touching the value.

#include "editing/FormatterLineEditAdaptor.h"
#include "editing/CDBFormatter.h"
#include "editing/CTimeFormatter.h"
#include "tests/support/QtPrinters.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// Replaces the field's text by typing, then presses Return to finish editing.
void typeAndFinish(QLineEdit& edit, const QString& text) {
    edit.selectAll();
    QTest::keyClicks(&edit, text);
    QTest::keyClick(&edit, Qt::Key_Return);
}

} // namespace

TEST(FormatterLineEditAdaptor, ShowsTheFormattedValue) {
    QLineEdit edit;
    FormatterLineEditAdaptor adaptor(&edit, std::make_unique<CTimeFormatter>());
    EXPECT_EQ(edit.text(), ""); // no value yet: not a number
    adaptor.setValue(59.7);
    EXPECT_EQ(edit.text(), "00:01:00");
    EXPECT_FALSE(edit.isModified());
    EXPECT_EQ(adaptor.value().toDouble(), 59.7);
}

TEST(FormatterLineEditAdaptor, AcceptedTextBecomesTheValueAndIsReformatted) {
    QLineEdit edit;
    FormatterLineEditAdaptor adaptor(&edit, std::make_unique<CTimeFormatter>());
    adaptor.setValue(10.0);
    QSignalSpy changed(&adaptor, &FormatterLineEditAdaptor::valueChanged);
    QSignalSpy failed(&adaptor, &FormatterLineEditAdaptor::conversionFailed);

    typeAndFinish(edit, "1:2:3");
    ASSERT_EQ(changed.count(), 1);
    EXPECT_FLOAT_EQ(changed.at(0).at(0).toFloat(), 3723.0f);
    EXPECT_FLOAT_EQ(adaptor.value().toFloat(), 3723.0f);
    EXPECT_EQ(edit.text(), "01:02:03");
    EXPECT_EQ(failed.count(), 0);
}

TEST(FormatterLineEditAdaptor, RefusedTextStaysAndTheValueDoesNotChange) {
    QLineEdit edit;
    FormatterLineEditAdaptor adaptor(&edit, std::make_unique<CTimeFormatter>());
    adaptor.setValue(59.7);
    QSignalSpy changed(&adaptor, &FormatterLineEditAdaptor::valueChanged);
    QSignalSpy failed(&adaptor, &FormatterLineEditAdaptor::conversionFailed);

    typeAndFinish(edit, "12:30:00");
    EXPECT_EQ(edit.text(), "12:30:00");
    EXPECT_EQ(adaptor.value().toDouble(), 59.7);
    EXPECT_EQ(changed.count(), 0);
    ASSERT_EQ(failed.count(), 1);
    EXPECT_EQ(failed.at(0).at(0).toString(), "Couldn't convert to time");
    EXPECT_EQ(edit.toolTip(), "Couldn't convert to time");

    // The operator corrects the text; the refusal clears.
    typeAndFinish(edit, "12:23:00");
    ASSERT_EQ(changed.count(), 1);
    EXPECT_FLOAT_EQ(adaptor.value().toFloat(), 12 * 3600 + 23 * 60);
    EXPECT_EQ(edit.toolTip(), "");
}

TEST(FormatterLineEditAdaptor, UneditedTextIsNotReadBack) {
    // "-inf" has no leading number: re-reading it would turn silence into unity gain.
    QLineEdit edit;
    FormatterLineEditAdaptor adaptor(&edit, std::make_unique<CDBFormatter>());
    adaptor.setValue(0.0);
    ASSERT_EQ(edit.text(), "-inf");
    QSignalSpy changed(&adaptor, &FormatterLineEditAdaptor::valueChanged);
    QTest::keyClick(&edit, Qt::Key_Return);
    emit edit.editingFinished();
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(adaptor.value().toDouble(), 0.0);

    typeAndFinish(edit, "-6");
    ASSERT_EQ(changed.count(), 1);
    EXPECT_NEAR(adaptor.value().toDouble(), 0.501187, 1e-6);
    EXPECT_EQ(edit.text(), "-6.0");
}

TEST(FormatterLineEditAdaptor, SettingAValueDiscardsARefusedText) {
    QLineEdit edit;
    FormatterLineEditAdaptor adaptor(&edit, std::make_unique<CTimeFormatter>());
    typeAndFinish(edit, "nonsense");
    ASSERT_EQ(edit.toolTip(), "Couldn't convert to time");
    adaptor.setValue(5.0);
    EXPECT_EQ(edit.text(), "00:00:05");
    EXPECT_EQ(edit.toolTip(), "");
    EXPECT_FALSE(edit.isModified());
}
