// The preset file: what is written, with which types, and how every kind of file reads
// back (complete, partial, from another machine, malformed).

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "foundation/PropertyList.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetDocument.h"
#include "tests/preset/PresetTestSupport.h"

#include <QFileInfo>
#include <QSet>
#include <QWidget>

namespace {
QVariantMap documentSettingsOf(const QVariantMap& root) {
    return root.value(QStringLiteral("Document Settings")).toMap();
}

QMetaType::Type typeOf(const QVariant& value) {
    return static_cast<QMetaType::Type>(value.typeId());
}
} // namespace

using PresetFileTest = PresetTest;

TEST_F(PresetFileTest, SavingTwoButtonsWritesExactlyTheirKeysWithTheirTypes) {
    PresetDocument document;
    putClip(document, 3, tone, {{settingsKey_FadeInDuration, 1.5}, {settingsKey_Loop, true}});
    putClip(document, 17, tone, {{settingsKey_OutputIndex, 4}});
    document.setCueMode(true);
    document.setFadeOtherDocuments(true);
    document.setDuckingVolume(0.3);
    document.setDocumentVolume(0.8);
    document.setOutputIndex(2);
    document.setFrame(QRectF(40, 50, 820.5, 600));

    QString error;
    const QByteArray bytes = document.dataRepresentation(&error);
    ASSERT_FALSE(bytes.isEmpty()) << error.toStdString();
    EXPECT_TRUE(bytes.startsWith("<?xml")) << "an XML property list, not a binary one";
    const QVariantMap root = PropertyList::fromData(bytes).toMap();

    const QStringList keys = root.keys();
    EXPECT_EQ(QSet<QString>(keys.begin(), keys.end()),
              (QSet<QString>{"Document Settings", "Default Clip Settings", "Alias Data 3", "Path 3",
                             "Settings 3", "Alias Data 17", "Path 17", "Settings 17"}));
    EXPECT_EQ(typeOf(root["Alias Data 3"]), QMetaType::QByteArray);
    EXPECT_EQ(root["Path 17"].toString(), QFileInfo(tone).absoluteFilePath());

    const QVariantMap settings = documentSettingsOf(root);
    EXPECT_EQ(typeOf(settings["Cue Mode"]), QMetaType::Bool);
    EXPECT_EQ(typeOf(settings["Fade Other Documents"]), QMetaType::Int);
    EXPECT_EQ(settings["Fade Other Documents"].toInt(), 1);
    EXPECT_EQ(typeOf(settings["Use ScrollWheel"]), QMetaType::Int);
    EXPECT_EQ(settings["Use ScrollWheel"].toInt(), 0);
    EXPECT_EQ(typeOf(settings["Output Index"]), QMetaType::Int);
    EXPECT_EQ(typeOf(settings["Ducking Volume"]), QMetaType::Double);
    EXPECT_EQ(typeOf(settings["Document Volume"]), QMetaType::Double);
    EXPECT_EQ(typeOf(settings["Window Size Width"]), QMetaType::Double) << "written as real";
    EXPECT_DOUBLE_EQ(settings["Window Size Width"].toDouble(), 820.5);

    // The defaults carry what the setters wrote into them.
    const QVariantMap defaults = root["Default Clip Settings"].toMap();
    EXPECT_DOUBLE_EQ(defaults[settingsKey_DuckingVolume].toDouble(), 0.3);
    EXPECT_DOUBLE_EQ(defaults[settingsKey_NormalVolume].toDouble(), 0.8);
    EXPECT_EQ(defaults[settingsKey_OutputIndex], QVariant(2));
}

TEST_F(PresetFileTest, ASavedDocumentReadsBackTheSameWithTypesIntact) {
    PresetDocument original;
    putClip(original, 3, tone, {{settingsKey_FadeInDuration, 1.5}, {settingsKey_Loop, true}});
    putClip(original, 17, tone, {{settingsKey_OutputIndex, 4}});
    original.setCueMode(true);
    original.setUseScrollWheelForVolume(true);
    original.setDuckingVolume(0.3);
    original.setOutputIndex(5);
    QString error;
    const QByteArray bytes = original.dataRepresentation(&error);

    PresetDocument copy;
    ASSERT_TRUE(copy.loadDataRepresentation(bytes, &error)) << error.toStdString();
    EXPECT_FALSE(copy.isDocumentEdited());
    EXPECT_TRUE(copy.cueMode());
    EXPECT_TRUE(copy.useScrollWheelForVolume());
    EXPECT_FALSE(copy.fadeOtherDocuments());
    EXPECT_DOUBLE_EQ(copy.duckingVolume(), 0.3);
    EXPECT_EQ(copy.outputIndex(), 5);
    EXPECT_TRUE(
        PropertyList::isIdentical(copy.defaultClipSettings(), original.defaultClipSettings()));
    for (int i = 0; i < PresetDocument::kClipsCount; ++i) {
        EXPECT_EQ(copy.clipAtIndex(i) != nullptr, i == 3 || i == 17) << "button " << i;
    }
    ASSERT_TRUE(copy.clipAtIndex(3));
    EXPECT_FALSE(copy.clipAtIndex(3)->isOffline());
    EXPECT_EQ(copy.clipAtIndex(3)->path(), QFileInfo(tone).absoluteFilePath());
    EXPECT_TRUE(PropertyList::isIdentical(*copy.clipAtIndex(3)->settings(),
                                          *original.clipAtIndex(3)->settings()));
    EXPECT_EQ(typeOf(copy.clipAtIndex(3)->settings()->value(settingsKey_Loop)), QMetaType::Bool);
    EXPECT_EQ(typeOf(copy.clipAtIndex(17)->settings()->value(settingsKey_OutputIndex)),
              QMetaType::Int);

    // And a second save is byte for byte the first.
    EXPECT_EQ(copy.dataRepresentation(&error), bytes);
}

TEST_F(PresetFileTest, AButtonWithAPathButNoSettingsTakesTheDocumentDefaults) {
    QVariantMap fileDefaults = ::defaultClipSettings();
    fileDefaults.insert(settingsKey_FadeOutDuration, 7.0);
    const QString path =
        writePlist("five.zpreset", {{"Default Clip Settings", fileDefaults}, {"Path 5", tone}});
    PresetDocument document;
    QString error;
    ASSERT_TRUE(document.loadDataRepresentation(fileBytes(path), &error));
    SoundClip* clip = document.clipAtIndex(5);
    ASSERT_TRUE(clip);
    EXPECT_DOUBLE_EQ(clip->doubleValueForSettingsKey(settingsKey_FadeOutDuration), 7.0);
    // Its own copy: editing it leaves the document's defaults alone.
    clip->settings()->insert(settingsKey_FadeOutDuration, 1.0);
    EXPECT_DOUBLE_EQ(document.defaultClipSettings()[settingsKey_FadeOutDuration].toDouble(), 7.0);
}

TEST_F(PresetFileTest, WithoutWindowKeysTheWindowIsAHundredSquareAtTheOrigin) {
    const QString path =
        writePlist("nowindow.zpreset", {{"Document Settings", QVariantMap{{"Cue Mode", true}}}});
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    QString error;
    ASSERT_TRUE(document.loadDataRepresentation(fileBytes(path), &error));
    EXPECT_EQ(document.frame(), QRectF(0, 0, 100, 100));
    attachController(document, &journal);
    ASSERT_TRUE(document.window());
    EXPECT_EQ(document.window()->geometry(), QRect(0, 0, 100, 100));
    EXPECT_FALSE(document.shouldCascadeWindows());
    EXPECT_EQ(journal, QStringList{"setCellClips"});
}

TEST_F(PresetFileTest, MissingOrMistypedSettingsLeaveTheCurrentValues) {
    PresetDocument document;
    document.setDuckingVolume(0.2);
    document.setOutputIndex(3);
    const QString path = writePlist(
        "mistyped.zpreset", {{"Document Settings", QVariantMap{{"Cue Mode", QStringLiteral("YES")},
                                                               {"Output Index", QVariantList{1}},
                                                               {"Fade Other Documents", 7}}}});
    QString error;
    ASSERT_TRUE(document.loadDataRepresentation(fileBytes(path), &error));
    EXPECT_FALSE(document.cueMode());
    EXPECT_EQ(document.outputIndex(), 3);
    EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.2);
    EXPECT_TRUE(document.fadeOtherDocuments()) << "any non-zero integer is on";
    // Without "Default Clip Settings" in the file the user's defaults are kept.
    EXPECT_TRUE(
        PropertyList::isIdentical(document.defaultClipSettings(),
                                  defaults().dictionaryForKey(defaultsKey_DefaultClipSettings)));
}

TEST_F(PresetFileTest, ADefaultsChangeReplacesTheDocumentDefaultsButNotItsSettings) {
    PresetDocument document;
    document.setDuckingVolume(0.15);
    EXPECT_DOUBLE_EQ(document.defaultClipSettings()[settingsKey_DuckingVolume].toDouble(), 0.15);

    QVariantMap userDefaults = ::defaultClipSettings();
    userDefaults.insert(settingsKey_FadeOutDuration, 4.0);
    defaults().setObject(userDefaults, defaultsKey_DefaultClipSettings);
    document.loadDefaultClipSettings(); // what the window's controller does on the change

    const QVariantMap now = document.defaultClipSettings();
    EXPECT_DOUBLE_EQ(now[settingsKey_DuckingVolume].toDouble(), 0.6) << "the user's value";
    EXPECT_DOUBLE_EQ(now[settingsKey_FadeOutDuration].toDouble(), 4.0);
    EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.15);
    QVariantMap settings;
    document.saveSettingsToDict(&settings);
    EXPECT_DOUBLE_EQ(settings["Ducking Volume"].toDouble(), 0.15);
}

TEST_F(PresetFileTest, ClipsFromAnotherMachineLoadOfflineAndSurviveASave) {
    const QString elsewhere = QStringLiteral("/nonexistent/studio-b/jingles/station-id.wav");
    const QString path =
        writePlist("foreign.zpreset", {{"Path 0", elsewhere},
                                       {"Alias Data 0", elsewhere.toUtf8()},
                                       {"Settings 0", QVariantMap{{settingsKey_NormalVolume, 0.5}}},
                                       {"Path 9", tone}});
    PresetDocument document;
    QString error;
    ASSERT_TRUE(document.loadDataRepresentation(fileBytes(path), &error));
    ASSERT_TRUE(document.clipAtIndex(0));
    EXPECT_TRUE(document.clipAtIndex(0)->isOffline());
    EXPECT_EQ(document.clipAtIndex(0)->title(), QStringLiteral("station-id.wav"));
    ASSERT_TRUE(document.clipAtIndex(9));
    EXPECT_FALSE(document.clipAtIndex(9)->isOffline());

    const QVariantMap saved = PropertyList::fromData(document.dataRepresentation(&error)).toMap();
    EXPECT_EQ(saved["Path 0"].toString(), elsewhere);
    EXPECT_DOUBLE_EQ(saved["Settings 0"].toMap()[settingsKey_NormalVolume].toDouble(), 0.5);
}

TEST_F(PresetFileTest, AMovedFileIsFoundByItsAlias) {
    PresetDocument original;
    putClip(original, 1, tone);
    QString error;
    const QByteArray bytes = original.dataRepresentation(&error);
    const QString moved = folder() + QStringLiteral("/renamed.wav");
    ASSERT_TRUE(QFile::rename(tone, moved));

    PresetDocument copy;
    ASSERT_TRUE(copy.loadDataRepresentation(bytes, &error));
    ASSERT_TRUE(copy.clipAtIndex(1));
    EXPECT_FALSE(copy.clipAtIndex(1)->isOffline());
    EXPECT_EQ(copy.clipAtIndex(1)->path(), QFileInfo(moved).absoluteFilePath());
}

TEST_F(PresetFileTest, AMalformedFileIsRefusedAndChangesNothing) {
    PresetDocument document;
    putClip(document, 2, tone);
    document.setDuckingVolume(0.35);
    const QByteArray before = document.dataRepresentation(nullptr);
    const bool editedBefore = document.isDocumentEdited();

    for (const QByteArray& bad :
         {QByteArray("not a property list"), QByteArray("<?xml version=\"1.0\"?><plist><dict>"),
          PropertyList::toXml(QVariantList{1, 2}), QByteArray()}) {
        QString error;
        EXPECT_FALSE(document.loadDataRepresentation(bad, &error)) << bad.toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_EQ(document.dataRepresentation(nullptr), before);
    EXPECT_EQ(document.isDocumentEdited(), editedBefore);
    ASSERT_TRUE(document.clipAtIndex(2));
}
