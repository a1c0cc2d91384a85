// File references: the stored bytes, the resolution order (absolute path, path relative
// to the document, identity search), the search's bounds, and the file-based object.

#include "clip/BDAlias.h"
#include "clip/FileIdentitySearch.h"
#include "clip/QorvinFileBasedObject.h"
#include "tests/support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class FileReferenceTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(_dir.isValid()); }

    QString root() const { return _dir.path(); }

    // Writes `bytes` to `relative` below the root, making folders as needed.
    QString file(const QString& relative, const QByteArray& bytes = "audio") {
        const QString path = root() + QLatin1Char('/') + relative;
        QDir().mkpath(QFileInfo(path).path());
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
        return path;
    }

    QString move(const QString& from, const QString& relativeTo) {
        const QString to = root() + QLatin1Char('/') + relativeTo;
        QDir().mkpath(QFileInfo(to).path());
        EXPECT_TRUE(QFile::rename(from, to)) << qPrintable(from);
        return to;
    }

private:
    QTemporaryDir _dir;
};

} // namespace

TEST_F(FileReferenceTest, TheAbsolutePathIsTriedFirst) {
    const QString path = file("sounds/ident.wav");
    const BDAlias alias = BDAlias::aliasWithPath(path);
    ASSERT_TRUE(alias.alias().has_value());
    EXPECT_TRUE(alias.alias()->hasIdentity());
    EXPECT_EQ(alias.fullPath(), path);
    EXPECT_EQ(alias.fullPathRelativeToPath(root()), path);
}

TEST_F(FileReferenceTest, AFileMovedToAnotherFolderIsFoundAgain) {
    const QString path = file("sounds/jingles/ident.wav");
    file("sounds/beds/bed.wav");
    const QByteArray stored = BDAlias::aliasWithPath(path).aliasData();
    const QString moved = move(path, "sounds/archive/2019/ident.wav");
    EXPECT_EQ(BDAlias::aliasWithData(stored).fullPath(), moved);
}

TEST_F(FileReferenceTest, ARenamedFileIsFoundAgainAndANewFileOfTheOldNameIsPreferred) {
    const QString path = file("sounds/ident.wav");
    const BDAlias alias = BDAlias::aliasWithPath(path);
    const QString renamed = move(path, "sounds/Station Ident (final).wav");
    EXPECT_EQ(alias.fullPath(), renamed);
    EXPECT_EQ(alias.fullPath(), renamed) << "found again from the remembered place";
    const QString replacement = file("sounds/ident.wav", "another take");
    EXPECT_EQ(alias.fullPath(), replacement) << "the absolute path comes first";
}

TEST_F(FileReferenceTest, AFolderCopiedWithItsDocumentResolvesThroughTheRelativePath) {
    const QString document = file("show/Morning.zpreset");
    const QString sound = file("show/sounds/ident.wav");
    const QByteArray stored = BDAlias::aliasWithPath(sound, document).aliasData();
    EXPECT_EQ(BDAlias::aliasWithData(stored).alias()->relativePath, "sounds/ident.wav");

    // A copy carries no identity of the original: only the relative path can find it.
    const QString copiedDocument = file("copy/Morning.zpreset");
    const QString copiedSound = file("copy/sounds/ident.wav");
    ASSERT_TRUE(QFile::remove(sound));
    EXPECT_EQ(BDAlias::aliasWithData(stored).fullPathRelativeToPath(copiedDocument), copiedSound);
    EXPECT_EQ(BDAlias::aliasWithData(stored).fullPathRelativeToPath(root() + "/copy"), copiedSound)
        << "a folder serves as base as well";
    EXPECT_EQ(BDAlias::aliasWithData(stored).fullPath(), "");
    EXPECT_EQ(BDAlias::aliasWithData(stored).fullPathRelativeToPath(root() + "/nowhere/x.zpreset"),
              "")
        << "a base whose folder does not exist does not resolve";
}

TEST_F(FileReferenceTest, StoredBytesPassThroughUnchanged) {
    static const char kForeign[] = "\x00\x01 not a reference \xff";
    const QByteArray foreign(kForeign, sizeof kForeign - 1);
    const BDAlias unreadable = BDAlias::aliasWithData(foreign);
    EXPECT_EQ(unreadable.aliasData(), foreign);
    EXPECT_FALSE(unreadable.alias().has_value());
    EXPECT_EQ(unreadable.fullPath(), "");

    const QString path = file("sounds/ident.wav");
    const QByteArray stored = BDAlias::aliasWithPath(path).aliasData();
    EXPECT_TRUE(stored.startsWith("bplist00"));
    const BDAlias reread = BDAlias::aliasWithData(stored);
    move(path, "elsewhere/ident.wav");
    EXPECT_FALSE(reread.fullPath().isEmpty());
    EXPECT_EQ(reread.aliasData(), stored) << "resolving never rewrites the bytes";
}

TEST_F(FileReferenceTest, TheRecordKeepsAnyFileNameExactly) {
    const QString path = file(QStringLiteral("sounds/line\nbreak \u00e9\u4e2d.wav"));
    const BDAlias alias = BDAlias::aliasWithPath(path, root());
    const std::optional<BDAlias::Record> record = BDAlias::DataToHandle(alias.aliasData());
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->path, path);
    EXPECT_EQ(record->relativePath, QStringLiteral("sounds/line\nbreak \u00e9\u4e2d.wav"));
    EXPECT_EQ(record->inode, alias.alias()->inode);
    EXPECT_EQ(record->size, 5);
    EXPECT_EQ(BDAlias::aliasWithData(alias.aliasData()).fullPath(), path);
}

TEST_F(FileReferenceTest, ABarePathReadsAsAReferenceAndBrokenRecordsDoNot) {
    const QString path = file("sounds/ident.wav");
    EXPECT_EQ(BDAlias::aliasWithData(path.toUtf8()).fullPath(), path);
    EXPECT_FALSE(BDAlias::DataToHandle("relative/path.wav").has_value());
    EXPECT_FALSE(BDAlias::DataToHandle("bplist00\x01\x02garbage").has_value());
    EXPECT_FALSE(BDAlias::DataToHandle("").has_value());
    // A well-formed property list that is not a reference.
    EXPECT_FALSE(BDAlias::DataToHandle("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                       "<key>Version</key><integer>1</integer></dict></plist>")
                     .has_value());
}

TEST_F(FileReferenceTest, AMissingFileResolvesToNothing) {
    const QString path = file("sounds/ident.wav");
    const BDAlias alias = BDAlias::aliasWithPath(path);
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_EQ(alias.fullPath(), "");
    EXPECT_EQ(BDAlias::aliasWithPath(root() + "/never-was.wav").fullPath(), "");
    EXPECT_FALSE(BDAlias::aliasWithPath(root() + "/never-was.wav").alias()->hasIdentity());
    EXPECT_EQ(BDAlias().fullPath(), "");
}

TEST_F(FileReferenceTest, TheIdentitySearchWantsTheNameOrTheSizeAndTime) {
    const QString path = file("sounds/ident.wav", "twelve bytes");
    FileIdentitySearch::Identity identity;
    ASSERT_TRUE(FileIdentitySearch::identityOf(path, &identity));
    const QStringList seeds{root()};
    EXPECT_EQ(FileIdentitySearch::find(identity, seeds).path, path);

    FileIdentitySearch::Identity renamed = identity;
    renamed.fileName = "old name.wav";
    EXPECT_EQ(FileIdentitySearch::find(renamed, seeds).path, path) << "same size and time";

    // The same inode under another name and with other contents: a file that took over
    // the inode of a deleted one.
    FileIdentitySearch::Identity reused = renamed;
    reused.size = 99;
    EXPECT_EQ(FileIdentitySearch::find(reused, seeds).path, "");
}

TEST_F(FileReferenceTest, TheIdentitySearchStopsAtItsLimits) {
    const QString deep = file("a/b/c/d/ident.wav");
    for (int i = 0; i < 50; ++i) {
        file(QStringLiteral("crowd/file-%1.wav").arg(i));
    }
    FileIdentitySearch::Identity identity;
    ASSERT_TRUE(FileIdentitySearch::identityOf(deep, &identity));
    const FileIdentitySearch::Result shallow = FileIdentitySearch::find(identity, {root()});
    EXPECT_EQ(shallow.path, "") << "four levels down is beyond the default depth";

    FileIdentitySearch::Limits deeper;
    deeper.maxDepth = 4;
    EXPECT_EQ(FileIdentitySearch::find(identity, {root()}, deeper).path, deep);

    FileIdentitySearch::Limits few = deeper;
    few.maxEntries = 10;
    const FileIdentitySearch::Result cut = FileIdentitySearch::find(identity, {root()}, few);
    EXPECT_TRUE(cut.cutShort);
    EXPECT_LE(cut.entriesRead, 10);
    EXPECT_EQ(cut.path, "");
}

TEST_F(FileReferenceTest, AFileBasedObjectDerivesEverythingFromItsReference) {
    QorvinFileBasedObject none;
    EXPECT_EQ(none.path(), "");
    EXPECT_TRUE(none.url().isEmpty());
    EXPECT_FALSE(none.exists());
    EXPECT_EQ(none.displayName(), "");
    EXPECT_TRUE(none.aliasData().isEmpty());

    const QString path = file("sounds/Ident.Final.mp3");
    QorvinFileBasedObject object(QUrl::fromLocalFile(path));
    EXPECT_EQ(object.path(), path);
    EXPECT_EQ(object.url(), QUrl::fromLocalFile(path));
    EXPECT_TRUE(object.exists());
    EXPECT_EQ(object.displayName(), "Ident.Final.mp3");
    EXPECT_EQ(object.extension(), "mp3");
    EXPECT_EQ(object.fileAttributes().size(), 5);

    object.setURL(QUrl("https://example.com/other.wav"));
    EXPECT_EQ(object.path(), path) << "a URL that is no local file changes nothing";

    QorvinFileBasedObject copy(object.aliasData());
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_FALSE(copy.exists());
    EXPECT_EQ(copy.path(), "");
    EXPECT_EQ(copy.displayName(), "");
    EXPECT_EQ(copy.extension(), "mp3") << "from the recorded path";
    EXPECT_EQ(copy.recordedPath(), path);
}

TEST_F(FileReferenceTest, AFileBasedObjectWithABasePathFollowsItsDocumentsFolder) {
    QorvinFileBasedObject object;
    object.setBasePath(root() + "/show/Morning.zpreset");
    object.setPath(file("show/sounds/ident.wav"));
    EXPECT_EQ(object.alias()->alias()->relativePath, "sounds/ident.wav");
    const QByteArray stored = object.aliasData();

    const QString copied = file("copy/sounds/ident.wav");
    ASSERT_TRUE(QFile::remove(root() + "/show/sounds/ident.wav"));
    QorvinFileBasedObject reopened(stored);
    reopened.setBasePath(root() + "/copy/Morning.zpreset");
    EXPECT_EQ(reopened.path(), copied);
    EXPECT_EQ(reopened.aliasData(), stored);
}
