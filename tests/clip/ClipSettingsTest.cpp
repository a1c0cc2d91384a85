// The clip settings record: its factory values, and the typed accessors every reader of
// a record goes through (absent keys, wrong-typed values, shared records).

#include "clip/ClipSettings.h"
#include "clip/ClipSettingsHolder.h"
#include "tests/support/QtPrinters.h"

#include <QByteArray>
#include <QDateTime>
#include <QVariantList>
#include <gtest/gtest.h>

namespace {

std::shared_ptr<QVariantMap> record(const QVariantMap& values) {
    return std::make_shared<QVariantMap>(values);
}

} // namespace

TEST(DefaultClipSettings, HoldsThirteenKeysWithTheirStoredTypes) {
    const QVariantMap defaults = defaultClipSettings();
    ASSERT_EQ(defaults.size(), 13);
    EXPECT_FALSE(defaults.contains("Loop"));
    EXPECT_FALSE(defaults.contains("MIDI Source Name"));

    // Key strings as documents store them, so a renamed constant fails here too.
    const struct {
        const char* key;
        QMetaType::Type type;
        double value;
    } expected[] = {
        {"Use Default Settings", QMetaType::Bool, 1.0},
        {"FadeOut Mode", QMetaType::Int, 0.0},
        {"In Point", QMetaType::Double, 0.0},
        {"Out Point", QMetaType::Double, 0.0},
        {"FadeIn Duration", QMetaType::Double, 0.0},
        {"FadeOut Duration", QMetaType::Double, 2.0},
        {"Volume", QMetaType::Double, 1.0},
        {"Ducking Volume", QMetaType::Double, 0.6},
        {"AutoChain Level", QMetaType::Double, 0.4},
        {"AutoChain Duration", QMetaType::Double, 2.0},
        {"MIDI Note", QMetaType::Int, 0.0},
        {"MIDI Channel", QMetaType::Int, 0.0},
        {"Output Index", QMetaType::Int, 0.0},
    };
    for (const auto& entry : expected) {
        SCOPED_TRACE(entry.key);
        ASSERT_TRUE(defaults.contains(entry.key));
        // The type matters: a property list keeps <true/>, <integer> and <real> apart.
        EXPECT_EQ(defaults.value(entry.key).typeId(), entry.type);
        EXPECT_DOUBLE_EQ(defaults.value(entry.key).toDouble(), entry.value);
    }
}

TEST(ClipSettingsAccessors, AnEmptyRecordOrNoneReadsTheFallbacks) {
    // An empty record plays silent with no fade-out: documents must never start from one.
    const ClipSettingsHolder empty(record({}));
    const ClipSettingsHolder none;
    EXPECT_EQ(none.settings(), nullptr);
    for (const ClipSettingsHolder* clip : {&empty, &none}) {
        for (const QString& key :
             {settingsKey_InPoint, settingsKey_OutPoint, settingsKey_FadeInDuration,
              settingsKey_FadeOutDuration, settingsKey_NormalVolume, settingsKey_DuckingVolume}) {
            EXPECT_DOUBLE_EQ(clip->doubleValueForSettingsKey(key), 0.0) << key.toStdString();
        }
        EXPECT_EQ(clip->intValueForSettingsKey(settingsKey_FadeOutMode), 0);
        EXPECT_EQ(clip->intValueForSettingsKey(settingsKey_OutputIndex), 0);
        EXPECT_FALSE(clip->boolValueForSettingsKey(settingsKey_Loop));
        EXPECT_EQ(clip->stringValueForSettingsKey(settingsKey_MIDISourceName), "");
    }
}

TEST(ClipSettingsAccessors, NumbersConvertBetweenTypes) {
    ClipSettingsHolder clip(record({
        {"bool yes", true},
        {"bool no", false},
        {"double", 2.9},
        {"negative double", -2.9},
        {"int", 3},
        {"float", 0.5f},
        {"huge double", 1.0e12},
    }));
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("bool yes"), 1.0);
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("bool no"), 0.0);
    EXPECT_EQ(clip.intValueForSettingsKey("bool yes"), 1);
    EXPECT_EQ(clip.intValueForSettingsKey("double"), 2);           // truncates, no rounding
    EXPECT_EQ(clip.intValueForSettingsKey("negative double"), -2); // toward zero
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("int"), 3.0);
    EXPECT_TRUE(clip.boolValueForSettingsKey("int"));
    EXPECT_TRUE(clip.boolValueForSettingsKey("float"));
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("float"), 0.5);
    EXPECT_EQ(clip.intValueForSettingsKey("huge double"), std::numeric_limits<int>::max());
    EXPECT_EQ(clip.stringValueForSettingsKey("int"), "3");
    EXPECT_EQ(clip.stringValueForSettingsKey("double"), "2.9");
}

TEST(ClipSettingsAccessors, UseDefaultSettingsWrittenAsIntReadsAsFlag) {
    // The settings editor writes the flag as int 0/1.
    ClipSettingsHolder clip(record({{settingsKey_UseDefaultSettings, 0}}));
    EXPECT_FALSE(clip.boolValueForSettingsKey(settingsKey_UseDefaultSettings));
    clip.settings()->insert(settingsKey_UseDefaultSettings, 1);
    EXPECT_TRUE(clip.boolValueForSettingsKey(settingsKey_UseDefaultSettings));
}

TEST(ClipSettingsAccessors, NumbersStoredAsTextReadByTheirLeadingNumber) {
    ClipSettingsHolder clip(record({
        {"volume text", QString("0.75")},
        {"padded", QString("  12.5 seconds")},
        {"words", QString("loud")},
        {"yes", QString("YES")},
        {"zero", QString("0")},
    }));
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("volume text"), 0.75);
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("padded"), 12.5);
    EXPECT_EQ(clip.intValueForSettingsKey("padded"), 12);
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey("words"), 0.0);
    EXPECT_EQ(clip.intValueForSettingsKey("words"), 0);
    EXPECT_TRUE(clip.boolValueForSettingsKey("yes"));
    EXPECT_FALSE(clip.boolValueForSettingsKey("zero"));
    EXPECT_FALSE(clip.boolValueForSettingsKey("words"));
}

TEST(ClipSettingsAccessors, ContainersDataAndDatesReadAsTheFallback) {
    ClipSettingsHolder clip(record({
        {"dict", QVariantMap{{"Volume", 1.0}}},
        {"array", QVariantList{1, 2}},
        {"data", QByteArray("0.9")},
        {"date", QDateTime::currentDateTimeUtc()},
    }));
    for (const char* key : {"dict", "array", "data", "date"}) {
        SCOPED_TRACE(key);
        EXPECT_FALSE(clip.boolValueForSettingsKey(key));
        EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey(key), 0.0);
        EXPECT_EQ(clip.intValueForSettingsKey(key), 0);
        EXPECT_EQ(clip.stringValueForSettingsKey(key), "");
    }
}

TEST(ClipSettingsHolder, SharesTheRecordItIsGiven) {
    // A clip made without its own record holds the document's default record itself.
    auto documentDefaults = record(defaultClipSettings());
    ClipSettingsHolder first(documentDefaults);
    ClipSettingsHolder second(documentDefaults);
    documentDefaults->insert(settingsKey_NormalVolume, 0.25);
    EXPECT_DOUBLE_EQ(first.doubleValueForSettingsKey(settingsKey_NormalVolume), 0.25);
    first.settings()->insert(settingsKey_Loop, true);
    EXPECT_TRUE(second.boolValueForSettingsKey(settingsKey_Loop));
    EXPECT_EQ(first.settings(), second.settings());
}

TEST(ClipSettingsHolder, ReplacingTheRecordDropsItsShareOfTheOld) {
    auto oldRecord = record({{settingsKey_NormalVolume, 0.5}});
    std::weak_ptr<QVariantMap> watch = oldRecord;
    ClipSettingsHolder clip(oldRecord);
    oldRecord.reset();
    ASSERT_FALSE(watch.expired());

    auto copy = record(*clip.settings());
    copy->insert(settingsKey_NormalVolume, 0.8);
    clip.setSettings(copy);
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(clip.settings(), copy);
    EXPECT_DOUBLE_EQ(clip.doubleValueForSettingsKey(settingsKey_NormalVolume), 0.8);
}
