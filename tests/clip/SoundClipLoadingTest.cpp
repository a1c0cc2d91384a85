// Loading a clip's file: tags, the offline state of missing and soundless files, the file
// reference that finds a moved file, the label colour, the movie's life, choosing a file.

#include "clip/ClipSettings.h"
#include "clip/FileLabel.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/AudioFileWriter.h"
#include "media/Movie.h"
#include "media/ToneGenerator.h"
#include "tests/clip/ClipTestSupport.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

using clipaudio::kTickFrames;

class SoundClipLoadingTest : public ClipEngineTest {
protected:
    std::unique_ptr<SoundClip> newClip() {
        return std::make_unique<SoundClip>(std::make_shared<QVariantMap>(defaultClipSettings()));
    }

    // A one-second tone with `year` as its year tag.
    QString toneWithYear(const QString& name, const QString& year) {
        media::AudioFileWriter::Options options;
        options.tags = AudioFixtures::standardTags();
        options.tags.year = year;
        return fixtures.write(name, media::ToneGenerator::sine(440.0, 0.5, AudioFixtures::kRate, 2),
                              AudioFixtures::kRate, options);
    }

    AudioFixtures fixtures;
};

TEST_F(SoundClipLoadingTest, TagsGiveTitleArtistAlbumAndYear) {
    for (const QString extension : {"m4a", "mp3", "ogg"}) {
        SCOPED_TRACE(extension.toStdString());
        auto clip = newClip();
        ASSERT_TRUE(clip->setFileURL(QUrl::fromLocalFile(fixtures.toneFile(extension))));
        EXPECT_FALSE(clip->isOffline());
        EXPECT_EQ(clip->title(), "Fixture Tone");
        EXPECT_EQ(clip->artist(), "Zelvora Tests");
        EXPECT_EQ(clip->album(), "Generated Album");
        EXPECT_EQ(clip->year(), 1998);
        EXPECT_EQ(clip->yearString(), "1998");
        EXPECT_NEAR(clip->fileDuration(), 1.0, 0.01);
        EXPECT_FALSE(clip->isMono());
        EXPECT_EQ(clip->color(), QColor(Qt::black)) << "an unlabelled file";
    }
}

TEST_F(SoundClipLoadingTest, AYearIsReadAsItsLeadingNumberAndOtherwiseLeftAlone) {
    struct Case {
        const char* tag;
        int year;
    };
    int fileNumber = 0;
    for (const Case& example :
         {Case{"1998-04-01", 1998}, Case{"0x7CE", 1998}, Case{"unknown", 2001}, Case{"", 2001}}) {
        SCOPED_TRACE(example.tag);
        auto clip = newClip();
        clip->setYear(2001);
        const QString path = toneWithYear(QStringLiteral("year-%1.m4a").arg(++fileNumber),
                                          QString::fromLatin1(example.tag));
        ASSERT_TRUE(clip->setFileURL(QUrl::fromLocalFile(path)));
        EXPECT_EQ(clip->year(), example.year);
        EXPECT_EQ(clip->yearString(), QString::number(example.year));
    }
}

TEST_F(SoundClipLoadingTest, WithoutReadingTagsTheTitleIsTheFileName) {
    defaults().setObject(false, defaultsKey_ReadID3Tags);
    auto clip = newClip();
    const QString path = fixtures.toneFile("m4a");
    ASSERT_TRUE(clip->setFileURL(QUrl::fromLocalFile(path)));
    EXPECT_EQ(clip->title(), QFileInfo(path).fileName());
    EXPECT_EQ(clip->artist(), "");
    EXPECT_EQ(clip->year(), 0);
    clip->readTags();
    EXPECT_EQ(clip->title(), "Fixture Tone") << "asked for explicitly, tags are still read";
}

TEST_F(SoundClipLoadingTest, AMissingFileGivesAnOfflineClipTitledByItsFileName) {
    auto clip = newClip();
    EXPECT_FALSE(clip->setFileURL(QUrl::fromLocalFile(folder() + "/Gone Jingle.wav")));
    EXPECT_TRUE(clip->isOffline());
    EXPECT_EQ(clip->title(), "Gone Jingle.wav");
    EXPECT_EQ(clip->movie(), nullptr);
    EXPECT_EQ(clip->aliasData().isEmpty(), false) << "the reference is kept for later";
    clip->startPlaying(false);
    EXPECT_FALSE(clip->isPlaying());

    auto titled = newClip();
    titled->setTitle("Station Ident");
    titled->getFileInformation(QUrl::fromLocalFile(folder() + "/gone.wav"));
    EXPECT_EQ(titled->title(), "Station Ident") << "a title it has is kept";
}

TEST_F(SoundClipLoadingTest, AFileWithoutSoundLeavesTheClipOfflineAndUntitled) {
    for (const QString& path :
         {fixtures.videoOnlyFile(), fixtures.textNamedMp3(), fixtures.emptyFile()}) {
        SCOPED_TRACE(path.toStdString());
        auto clip = newClip();
        EXPECT_FALSE(SoundClip::isValidAudioFile(path));
        EXPECT_FALSE(clip->setFileURL(QUrl::fromLocalFile(path)));
        EXPECT_TRUE(clip->isOffline());
        EXPECT_EQ(clip->title(), "");
    }
    EXPECT_TRUE(SoundClip::isValidAudioFile(fixtures.toneFile("wav")));
    EXPECT_TRUE(SoundClip::isValidAudioFile(fixtures.videoWithAudioFile()));
    EXPECT_FALSE(SoundClip::isValidAudioFile(""));
}

TEST_F(SoundClipLoadingTest, AnotherFileReplacesAPlayableOneAndAnURLThatIsNoFileChangesNothing) {
    SoundClip& clip = makeClip(constantWav("first.wav", 2.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    EXPECT_FALSE(clip.setFileURL(QUrl("https://example.com/jingle.mp3")));
    EXPECT_TRUE(clip.isPlaying()) << "refused before anything stopped";
    EXPECT_EQ(QFileInfo(clip.path()).fileName(), "first.wav");

    EXPECT_TRUE(clip.setFileURL(QUrl::fromLocalFile(constantWav("second.wav", 3.0, 0.5f, 0.5f))));
    EXPECT_FALSE(clip.isPlaying());
    EXPECT_DOUBLE_EQ(clip.fileDuration(), 3.0);
    EXPECT_EQ(clip.title(), "second.wav");
}

TEST_F(SoundClipLoadingTest, AClipFoundThroughItsReferencePlaysAFileMovedToAnotherFolder) {
    QDir(folder()).mkpath("library/jingles");
    QDir(folder()).mkpath("library/archive");
    const QString original = folder() + "/library/jingles/ident.wav";
    ASSERT_TRUE(QFile::rename(constantWav("ident.wav", 2.0, 0.5f, 0.5f), original));
    SoundClip& first = makeClip(original);
    const QByteArray stored = first.aliasData();

    const QString moved = folder() + "/library/archive/ident-2019.wav";
    ASSERT_TRUE(QFile::rename(original, moved));
    auto clip = newClip();
    clip->setFileAliasData(stored);
    EXPECT_EQ(clip->aliasData(), stored) << "the stored bytes pass through unchanged";
    EXPECT_FALSE(clip->isOffline());
    EXPECT_EQ(clip->path(), moved);
    engine().waitUntilIdle();
    clip->startPlaying(false);
    EXPECT_EQ(settled(pull(kTickFrames), 2, 0), 0.5f);
    clip->stopPlaying();

    ASSERT_TRUE(QFile::remove(moved));
    auto gone = newClip();
    gone->setFileAliasData(stored);
    EXPECT_TRUE(gone->isOffline());
    EXPECT_EQ(gone->aliasData(), stored);
}

TEST_F(SoundClipLoadingTest, AClosedMovieIsOpenedAgainOnTheNextStart) {
    SoundClip& clip = makeClip(indexedWav("indexed.wav", 2.0), {{settingsKey_InPoint, 0.5}});
    clip.closeMovie();
    EXPECT_EQ(clip.movie(), nullptr);
    EXPECT_FALSE(clip.isOffline()) << "closing does not make the clip offline";
    clip.startPlaying(false);
    ASSERT_NE(clip.movie(), nullptr);
    EXPECT_TRUE(clip.isPlaying());
    const std::vector<float> block = pull(kTickFrames);
    EXPECT_EQ(clipaudio::frameOfIndexedValue(settled(block, 2, 0)), 24000 + kTickFrames - 1);
    clip.stopPlaying();

    clip.reOpenMovie();
    ASSERT_NE(clip.movie(), nullptr);
    EXPECT_FALSE(clip.movie()->isOpen());
    clip.startPlaying(false);
    EXPECT_TRUE(clip.movie()->isOpen());
    clip.stopPlaying();
}

TEST_F(SoundClipLoadingTest, ChoosingAFileTakesItWithoutLoadingIt) {
    auto clip = newClip();
    SoundClip::setFileSelector(nullptr);
    EXPECT_FALSE(clip->selectFile());

    const QString path = fixtures.toneFile("wav");
    SoundClip::setFileSelector([] { return QString(); });
    EXPECT_FALSE(clip->selectFile()) << "cancelled";
    EXPECT_EQ(clip->path(), "");

    SoundClip::setFileSelector([path] { return path; });
    EXPECT_TRUE(clip->selectFile());
    SoundClip::setFileSelector(nullptr);
    EXPECT_EQ(clip->path(), path);
    EXPECT_TRUE(clip->isOffline()) << "the caller loads it";
    EXPECT_TRUE(clip->getFileInformation(clip->url()));
    EXPECT_FALSE(clip->isOffline());
}

TEST(FileLabel, TheFirstTagNamingAColourGivesTheLabel) {
    EXPECT_EQ(FileLabel::labelNumberForTags("red"), 6);
    EXPECT_EQ(FileLabel::labelNumberForTags("RED"), 6);
    EXPECT_EQ(FileLabel::labelNumberForTags("Work, Blue,Red"), 4);
    EXPECT_EQ(FileLabel::labelNumberForTags(" Orange "), 7);
    EXPECT_EQ(FileLabel::labelNumberForTags("Grey"), 1);
    EXPECT_EQ(FileLabel::labelNumberForTags("gray"), 1);
    EXPECT_EQ(FileLabel::labelNumberForTags("green,purple"), 2);
    EXPECT_EQ(FileLabel::labelNumberForTags("Yellow"), 5);
    EXPECT_EQ(FileLabel::labelNumberForTags("Purple"), 3);
    EXPECT_EQ(FileLabel::labelNumberForTags("Reddish, Blues"), 0);
    EXPECT_EQ(FileLabel::labelNumberForTags(""), 0);
}

TEST_F(SoundClipLoadingTest, TheLabelColourComesFromTheFilesTags) {
    const QString path = constantWav("labelled.wav", 1.0, 0.1f, 0.1f);
    const QByteArray tags = "Morning Show,red";
    if (::setxattr(QFile::encodeName(path).constData(), FileLabel::kTagsAttribute, tags.constData(),
                   size_t(tags.size()), 0) != 0) {
        GTEST_SKIP() << "the temporary file system refuses user extended attributes: "
                     << std::strerror(errno);
    }
    EXPECT_EQ(FileLabel::tagsForPath(path), "Morning Show,red");
    auto clip = newClip();
    ASSERT_TRUE(clip->setFileURL(QUrl::fromLocalFile(path)));
    EXPECT_EQ(clip->color(), FileLabel::labelColors()[6]);
    EXPECT_EQ(clip->getColorLabelForPath(folder() + "/missing.wav"), QColor(Qt::black));
}
