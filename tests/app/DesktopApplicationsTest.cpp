// Installed applications as the default editor chooser lists them: the XDG folders in
// order, what makes a desktop entry count, and the command taken from its Exec line.

#include "app/DesktopApplications.h"
#include "app/EditorChooserDialog.h"
#include "foundation/UserDefaults.h"
#include "tests/support/ScratchHome.h"

#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class DesktopApplicationsTest : public ScratchHome {
protected:
    void SetUp() override {
        ScratchHome::SetUp();
        _savedDataDirs = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", (_system.path() + "/one:" + _system.path() + "/two").toUtf8());
    }
    void TearDown() override {
        qputenv("XDG_DATA_DIRS", _savedDataDirs);
        ScratchHome::TearDown();
    }

    // Writes `text` as `relative` under `root`/applications.
    static void writeEntry(const QString& root, const QString& relative, const QString& text) {
        const QString path = root + "/applications/" + relative;
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }
    QString userRoot() const { return path() + "/data"; }
    QString systemRoot(const char* which) const { return _system.path() + "/" + which; }

private:
    QTemporaryDir _system;
    QByteArray _savedDataDirs;
};

TEST_F(DesktopApplicationsTest, TheUserFolderComesFirstThenEachDataFolder) {
    const QStringList folders = DesktopApplications::applicationDirectories();
    ASSERT_EQ(folders.size(), 3);
    EXPECT_EQ(folders[0], userRoot() + "/applications");
    EXPECT_EQ(folders[1], systemRoot("one") + "/applications");
    EXPECT_EQ(folders[2], systemRoot("two") + "/applications");
}

TEST_F(DesktopApplicationsTest, ListsShownApplicationsOncePerIdWithTheirCommands) {
    writeEntry(systemRoot("one"), "wave.desktop",
               "[Desktop Entry]\nType=Application\nName=Wave Editor\nName[de]=Wellen\n"
               "Exec=waveedit --new %F\nIcon=waveedit\nMimeType=audio/x-wav;audio/mpeg;\n"
               "[Desktop Action New]\nName=Other\nExec=ignored\n");
    // The user's own copy of the same id wins.
    writeEntry(userRoot(), "wave.desktop",
               "[Desktop Entry]\nType=Application\nName=My Wave\nExec=waveedit --mine %U\n");
    writeEntry(systemRoot("two"), "vendor/tool.desktop",
               "# comment\n[Desktop Entry]\nType=Application\nName=Tool\nExec=\"/opt/A Tool/run\" "
               "%u\n");
    writeEntry(systemRoot("two"), "hidden.desktop",
               "[Desktop Entry]\nType=Application\nName=Hidden\nExec=h\nHidden=true\n");
    writeEntry(systemRoot("two"), "nodisplay.desktop",
               "[Desktop Entry]\nType=Application\nName=Helper\nExec=h\nNoDisplay=true\n");
    writeEntry(systemRoot("two"), "link.desktop", "[Desktop Entry]\nType=Link\nName=Site\nURL=x\n");
    writeEntry(systemRoot("two"), "noexec.desktop", "[Desktop Entry]\nType=Application\nName=N\n");
    writeEntry(systemRoot("two"), "notes.txt",
               "[Desktop Entry]\nType=Application\nName=T\nExec=t\n");

    const QList<DesktopApplication> applications = DesktopApplications::installedApplications();
    ASSERT_EQ(applications.size(), 2);
    EXPECT_EQ(applications[0].name, QStringLiteral("My Wave"));
    EXPECT_EQ(applications[0].id, QStringLiteral("wave.desktop"));
    EXPECT_EQ(applications[0].command, QStringLiteral("waveedit --mine"));
    EXPECT_FALSE(applications[0].opensAudio);
    EXPECT_EQ(applications[1].name, QStringLiteral("Tool"));
    EXPECT_EQ(applications[1].id, QStringLiteral("vendor-tool.desktop"));
    EXPECT_EQ(applications[1].command, QStringLiteral("\"/opt/A Tool/run\""));

    const auto wave = DesktopApplications::readDesktopFile(
        systemRoot("one") + "/applications/wave.desktop", QStringLiteral("wave.desktop"));
    ASSERT_TRUE(wave.has_value());
    EXPECT_EQ(wave->name, QStringLiteral("Wave Editor"));
    EXPECT_EQ(wave->command, QStringLiteral("waveedit --new"));
    EXPECT_EQ(wave->iconName, QStringLiteral("waveedit"));
    EXPECT_TRUE(wave->opensAudio);
}

TEST(DesktopApplicationsCommand, DropsFieldCodesAndKeepsQuoting) {
    EXPECT_EQ(DesktopApplications::commandFromExec("audacity %F"), "audacity");
    EXPECT_EQ(DesktopApplications::commandFromExec("/usr/bin/flatpak run --command=audacity "
                                                   "org.audacityteam.Audacity @@ %F @@"),
              "/usr/bin/flatpak run --command=audacity org.audacityteam.Audacity");
    EXPECT_EQ(DesktopApplications::commandFromExec("edit --level=100%% --file=%f"),
              "edit --level=100% --file=");
    EXPECT_EQ(DesktopApplications::commandFromExec("\"/opt/My App/bin/edit\" -q \"%u\""),
              "\"/opt/My App/bin/edit\" -q");
    EXPECT_EQ(DesktopApplications::commandFromExec("say \"a \\\"quoted\\\" word\""),
              "say \"a \\\"quoted\\\" word\"");
    EXPECT_EQ(DesktopApplications::commandFromExec("keep %z"), "keep %z");
    EXPECT_EQ(DesktopApplications::commandFromExec(""), "");
}

TEST(EditorChooserDialog, OffersAudioApplicationsFirstOrAnyProgram) {
    QList<DesktopApplication> applications{
        {"a.desktop", "Browser", "browser", "", false},
        {"b.desktop", "Sound Editor", "soundedit", "", true},
    };
    EditorChooserDialog dialog(applications);
    ASSERT_EQ(dialog.applicationList()->count(), 1);
    EXPECT_EQ(dialog.applicationList()->item(0)->text(), QStringLiteral("Sound Editor"));
    EXPECT_EQ(dialog.command(), QString());
    dialog.applicationList()->setCurrentRow(0);
    EXPECT_EQ(dialog.command(), QStringLiteral("soundedit"));
    dialog.setShowsAllApplications(true);
    EXPECT_EQ(dialog.applicationList()->count(), 2);

    QTemporaryDir folder;
    const QString text = folder.filePath("notes.txt");
    QFile(text).open(QIODevice::WriteOnly);
    EXPECT_FALSE(dialog.chooseProgram(text));
    EXPECT_TRUE(dialog.problem().contains("notes.txt"));
    EXPECT_EQ(dialog.result(), QDialog::Rejected);

    const QString program = folder.filePath("my editor");
    QFile script(program);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_TRUE(dialog.chooseProgram(program));
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.command(), "\"" + QFileInfo(program).absoluteFilePath() + "\"");
}

TEST(EditorChooserDialog, WithoutAudioApplicationsEveryApplicationIsListed) {
    EditorChooserDialog dialog({{"a.desktop", "Browser", "browser", "", false}});
    EXPECT_EQ(dialog.applicationList()->count(), 1);
}

} // namespace
