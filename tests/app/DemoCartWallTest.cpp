// The demo cart wall a first start writes: sounds and cart wall written once and kept
// afterwards, a cart wall that loads with every button playable under its title, a
// tone that really sounds, and what a start opens with and without --demo.

#include "app/DemoCartWall.h"
#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "media/AudioEngine.h"
#include "preset/PresetDocument.h"
#include "tests/preset/PresetTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>
#include <cmath>
#include <gtest/gtest.h>

namespace {

class DemoCartWallTest : public PresetTest {
protected:
    QString demoFolder() const { return folder() + QStringLiteral("/Demo"); }

    static QByteArray contents(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // Zero crossings of `channel` per second over an interleaved stereo buffer.
    static double frequencyOf(const std::vector<float>& samples, int channel) {
        int crossings = 0;
        const size_t frames = samples.size() / 2;
        for (size_t frame = 1; frame < frames; ++frame) {
            const bool before = samples[(frame - 1) * 2 + channel] >= 0.0f;
            const bool now = samples[frame * 2 + channel] >= 0.0f;
            crossings += before != now ? 1 : 0;
        }
        return crossings / 2.0 / (double(frames) / clipaudio::kRate);
    }
};

TEST_F(DemoCartWallTest, IsWrittenOnceAndKeptAfterwards) {
    DemoCartWall demo(demoFolder());
    QString error;
    ASSERT_EQ(demo.ensureWritten(&error), DemoCartWall::State::Written) << error.toStdString();
    ASSERT_TRUE(QFileInfo::exists(demo.presetPath()));
    for (const DemoCartWall::Button& button : DemoCartWall::buttons()) {
        EXPECT_GT(QFileInfo(QDir(demoFolder()).filePath(button.fileName)).size(), 1000)
            << button.fileName.toStdString();
    }
    // No temporary file of the atomic writes is left behind.
    EXPECT_EQ(QDir(demoFolder()).entryList(QDir::Files).size(),
              qsizetype(DemoCartWall::buttons().size() + 1));

    // What the user did with the demo stays as it is.
    const QString tone = QDir(demoFolder()).filePath(DemoCartWall::buttons().front().fileName);
    QFile edited(tone);
    ASSERT_TRUE(edited.open(QIODevice::WriteOnly));
    edited.write("the user's own file");
    edited.close();
    EXPECT_EQ(demo.ensureWritten(&error), DemoCartWall::State::AlreadyThere);
    EXPECT_EQ(contents(tone), "the user's own file");

    // A start that stopped before the cart wall file was written writes it all again.
    ASSERT_TRUE(QFile::remove(demo.presetPath()));
    EXPECT_EQ(demo.ensureWritten(&error), DemoCartWall::State::Written) << error.toStdString();
    EXPECT_NE(contents(tone), "the user's own file");
}

TEST_F(DemoCartWallTest, AFolderThatCannotBeMadeFailsWithAReasonAndNoCartWall) {
    const QString blocker = folder() + QStringLiteral("/not-a-folder");
    QFile file(blocker);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    DemoCartWall demo(blocker + QStringLiteral("/Demo"));
    QString error;
    EXPECT_EQ(demo.ensureWritten(&error), DemoCartWall::State::Failed);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(demo.presetPath()));
}

TEST_F(DemoCartWallTest, LoadsWithEveryButtonPlayableUnderItsTitle) {
    DemoCartWall demo(demoFolder());
    QString error;
    ASSERT_EQ(demo.ensureWritten(&error), DemoCartWall::State::Written) << error.toStdString();
    PresetDocument document;
    ASSERT_TRUE(document.loadDataRepresentation(fileBytes(demo.presetPath()), &error))
        << error.toStdString();
    int buttonsWithClips = 0;
    for (int index = 0; index < PresetDocument::kClipsCount; ++index) {
        buttonsWithClips += document.clipAtIndex(index) ? 1 : 0;
    }
    EXPECT_EQ(buttonsWithClips, int(DemoCartWall::buttons().size()));
    for (const DemoCartWall::Button& button : DemoCartWall::buttons()) {
        SCOPED_TRACE(button.fileName.toStdString());
        SoundClip* clip = document.clipAtIndex(button.index);
        ASSERT_NE(clip, nullptr);
        EXPECT_FALSE(clip->isOffline());
        EXPECT_NEAR(clip->duration(), button.seconds, 0.05);
        EXPECT_EQ(clip->title(), button.title);
        const QVariantMap& settings = *clip->settings();
        EXPECT_EQ(settings.value(settingsKey_Loop).toBool(),
                  button.settings.value(settingsKey_Loop).toBool());
        EXPECT_EQ(clip->outputIndex(), button.settings.value(settingsKey_OutputIndex, 0).toInt());
    }
}

TEST_F(DemoCartWallTest, ButtonAPlaysItsToneOnBothSides) {
    DemoCartWall demo(demoFolder());
    QString error;
    ASSERT_EQ(demo.ensureWritten(&error), DemoCartWall::State::Written) << error.toStdString();
    PresetDocument document;
    ASSERT_TRUE(document.loadDataRepresentation(fileBytes(demo.presetPath()), &error));
    SoundClip* clip = document.clipAtIndex(0);
    ASSERT_NE(clip, nullptr);
    engine().waitUntilIdle();
    clip->startPlaying(false);
    std::vector<float> heard;
    for (int tick = 0; tick < 10; ++tick) {
        const std::vector<float> frames = this->tick(*clip);
        heard.insert(heard.end(), frames.begin(), frames.end());
    }
    EXPECT_TRUE(clip->isPlaying());
    EXPECT_FALSE(isSilent(heard, 2, 0));
    EXPECT_FALSE(isSilent(heard, 2, 1));
    EXPECT_NEAR(frequencyOf(heard, 0), 440.0, 5.0);
    EXPECT_NEAR(frequencyOf(heard, 1), 440.0, 5.0);
    clip->stopPlaying();
}

TEST_F(DemoCartWallTest, AStartOpensTheDemoOnlyWhenAskedAndWritesItEitherWay) {
    const QString preset = DemoCartWall(DemoCartWall::defaultFolder()).presetPath();
    ASSERT_TRUE(preset.startsWith(path())) << "the data folder is the test's own";
    EXPECT_TRUE(preset.endsWith(QStringLiteral("/zelvora-studio/Demo/Demo Cart Wall.zpreset")));

    EXPECT_TRUE(DemoCartWall::documentsForStart({QStringLiteral("zelvora-studio")}).isEmpty());
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_TRUE(QFileInfo::exists(preset));
    QFile::remove(preset);
    EXPECT_EQ(DemoCartWall::documentsForStart(
                  {QStringLiteral("zelvora-studio"), QStringLiteral("--demo")}),
              QStringList{preset});
    EXPECT_TRUE(QFileInfo::exists(preset)) << "written before it is opened";
}

} // namespace
