// The factory defaults table: every key the program registers, its type and value, and
// that registering never writes: a value the user stored wins, and the file holds only
// what the user changed.

#include "app/ZelvoraApplication.h"
#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "foundation/UserDefaults.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/ScratchHome.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

const QStringList boolKeysOn{"Read ID3 Tags", "Should Open Untitled Preset"};
const QStringList boolKeysOff{"Lock Window Positions", "Use GPI", "Fader Stop In Cue Mode"};

QStringList functionKeys() {
    QStringList keys;
    for (int key = 1; key <= 12; ++key) {
        keys << QStringLiteral("Function Key %1").arg(key);
    }
    return keys;
}

} // namespace

TEST(FactoryDefaultsTable, HasExactlyTheRegisteredKeys) {
    const QVariantMap table = ZelvoraApplication::factoryDefaults();
    QStringList expected{"Default Clip Settings", "Default Editor", "Kestrel Serial Number"};
    expected << boolKeysOn << boolKeysOff << functionKeys();
    for (int index = 0; index < 9; ++index) {
        expected << QStringLiteral("Output Settings %1").arg(index);
    }
    expected.sort();
    EXPECT_EQ(table.keys(), expected);
}

TEST(FactoryDefaultsTable, FlagsAreBoolsWithTheirFactoryValues) {
    const QVariantMap table = ZelvoraApplication::factoryDefaults();
    for (const QString& key : boolKeysOn) {
        SCOPED_TRACE(key.toStdString());
        EXPECT_EQ(table.value(key).typeId(), QMetaType::Bool);
        EXPECT_TRUE(table.value(key).toBool());
    }
    for (const QString& key : boolKeysOff) {
        SCOPED_TRACE(key.toStdString());
        EXPECT_EQ(table.value(key).typeId(), QMetaType::Bool);
        EXPECT_FALSE(table.value(key).toBool());
    }
}

TEST(FactoryDefaultsTable, TextKeysAreStrings) {
    const QVariantMap table = ZelvoraApplication::factoryDefaults();
    QStringList emptyTexts = functionKeys();
    emptyTexts << "Kestrel Serial Number";
    for (const QString& key : emptyTexts) {
        SCOPED_TRACE(key.toStdString());
        EXPECT_EQ(table.value(key).typeId(), QMetaType::QString);
        EXPECT_EQ(table.value(key).toString(), "");
    }
    EXPECT_EQ(table.value("Default Editor").typeId(), QMetaType::QString);
    EXPECT_EQ(table.value("Default Editor").toString(), "audacity");
}

TEST(FactoryDefaultsTable, HoldsTheClipAndOutputRecords) {
    const QVariantMap table = ZelvoraApplication::factoryDefaults();
    EXPECT_EQ(table.value("Default Clip Settings").typeId(), QMetaType::QVariantMap);
    EXPECT_EQ(table.value("Default Clip Settings").toMap(), defaultClipSettings());
    for (int index = 0; index < 9; ++index) {
        SCOPED_TRACE(index);
        const QVariant record = table.value(QStringLiteral("Output Settings %1").arg(index));
        EXPECT_EQ(record.typeId(), QMetaType::QVariantMap);
        EXPECT_EQ(record.toMap(), defaultOutputSettings(index));
    }
}

class RegisteredDefaults : public ScratchHome {};

TEST_F(RegisteredDefaults, AnswerEveryKeyWithoutWritingAny) {
    ZelvoraApplication::initialize(defaults());
    EXPECT_TRUE(defaults().boolForKey("Read ID3 Tags"));
    EXPECT_TRUE(defaults().boolForKey("Should Open Untitled Preset"));
    EXPECT_FALSE(defaults().boolForKey("Use GPI"));
    EXPECT_EQ(defaults().stringForKey("Default Editor"), "audacity");
    EXPECT_EQ(defaults().stringForKey("Function Key 5"), "");
    EXPECT_EQ(defaults().dictionaryForKey("Output Settings 8").value(QorvinPrefOutputName),
              "Pre-listen");
    EXPECT_DOUBLE_EQ(clipSettingsDouble(defaults().dictionaryForKey("Default Clip Settings"),
                                        settingsKey_FadeOutDuration),
                     2.0);

    // Registered values live only in memory: after a restart nothing of them is stored.
    restart();
    for (const QString& key : ZelvoraApplication::factoryDefaults().keys()) {
        SCOPED_TRACE(key.toStdString());
        EXPECT_FALSE(defaults().hasObjectForKey(key));
    }
}

TEST_F(RegisteredDefaults, AStoredUserValueWins) {
    defaults().setObject(false, "Read ID3 Tags");
    defaults().setObject(QStringLiteral("/home/op/news.zpreset"), "Function Key 3");
    ZelvoraApplication::initialize(defaults());
    EXPECT_FALSE(defaults().boolForKey("Read ID3 Tags"));
    EXPECT_EQ(defaults().stringForKey("Function Key 3"), "/home/op/news.zpreset");

    restart();
    ZelvoraApplication::initialize(defaults());
    EXPECT_FALSE(defaults().boolForKey("Read ID3 Tags"));
    EXPECT_EQ(defaults().stringForKey("Function Key 3"), "/home/op/news.zpreset");
    EXPECT_EQ(defaults().stringForKey("Function Key 4"), "");
}

TEST_F(RegisteredDefaults, StoredRecordsKeepTheirTypesAcrossARestart) {
    // What the preferences window writes back is the registered record, possibly edited;
    // a bool must come back a bool and an int an int, or documents change meaning.
    const QVariantMap table = ZelvoraApplication::factoryDefaults();
    for (auto entry = table.begin(); entry != table.end(); ++entry) {
        defaults().setObject(entry.value(), entry.key());
    }
    restart();
    for (auto entry = table.begin(); entry != table.end(); ++entry) {
        SCOPED_TRACE(entry.key().toStdString());
        const QVariant stored = defaults().objectForKey(entry.key());
        EXPECT_EQ(stored.typeId(), entry.value().typeId());
        EXPECT_EQ(stored, entry.value());
    }
    const QVariantMap clip = defaults().dictionaryForKey("Default Clip Settings");
    EXPECT_EQ(clip.value(settingsKey_UseDefaultSettings).typeId(), QMetaType::Bool);
    EXPECT_EQ(clip.value(settingsKey_OutputIndex).typeId(), QMetaType::Int);
    EXPECT_EQ(clip.value(settingsKey_NormalVolume).typeId(), QMetaType::Double);
}

TEST_F(RegisteredDefaults, OutputColoursSurviveTheStore) {
    ZelvoraApplication::initialize(defaults());
    for (int index = 0; index < 9; ++index) {
        SCOPED_TRACE(index);
        const QVariantMap record = defaults().dictionaryForKey(outputSettingsKey(index));
        EXPECT_EQ(outputColor(record), defaultOutputColor(index));
        defaults().setObject(record, outputSettingsKey(index));
    }
    restart();
    for (int index = 0; index < 9; ++index) {
        SCOPED_TRACE(index);
        const QVariantMap record = defaults().dictionaryForKey(outputSettingsKey(index));
        EXPECT_EQ(outputColor(record), defaultOutputColor(index));
    }
}
