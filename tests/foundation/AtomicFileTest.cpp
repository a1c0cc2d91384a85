// Atomic file replacement: a save that fails half-way leaves the old file as it was.

#include "foundation/AtomicFile.h"

#include "tests/foundation/DiskFullScope.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

TEST(AtomicFile, WritesAndReplaces) {
    QTemporaryDir dir;
    const QString path = dir.filePath("doc.zpreset");
    QString error = "untouched";
    ASSERT_TRUE(AtomicFile::write(path, "first", &error)) << error.toStdString();
    EXPECT_TRUE(error.isEmpty());
    ASSERT_TRUE(AtomicFile::write(path, "second, longer", &error));
    EXPECT_EQ(contents(path), QByteArray("second, longer"));
    ASSERT_TRUE(AtomicFile::write(path, "", &error));
    EXPECT_EQ(contents(path), QByteArray());
}

TEST(AtomicFile, FullDiskLeavesTheOldFileIntact) {
    QTemporaryDir dir;
    const QString path = dir.filePath("doc.zpreset");
    ASSERT_TRUE(AtomicFile::write(path, "the good version"));
    QString error;
    bool written = true;
    {
        DiskFullScope full;
        ASSERT_TRUE(full.isActive());
        written = AtomicFile::write(path, QByteArray(100000, 'x'), &error);
    }
    EXPECT_FALSE(written);
    EXPECT_TRUE(error.contains(path)) << error.toStdString();
    EXPECT_FALSE(error.contains(u'\n'));
    EXPECT_EQ(contents(path), QByteArray("the good version"));
    // No temporary file is left behind.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST(AtomicFile, MissingFolderFailsWithAMessage) {
    QTemporaryDir dir;
    const QString path = dir.filePath("no/such/folder/doc.zpreset");
    QString error;
    EXPECT_FALSE(AtomicFile::write(path, "x", &error));
    EXPECT_TRUE(error.contains(path)) << error.toStdString();
}

} // namespace
