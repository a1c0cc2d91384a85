// The user-defaults store: lookup order, what reaches the file, persistence across a
// restart, Cocoa-like conversions, one change signal per change, and the behaviour with a
// bad file or a configuration folder that cannot be written.

#include "foundation/UserDefaults.h"
#include "foundation/PropertyList.h"
#include "tests/foundation/DiskFullScope.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchHome.h"

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTimeZone>
#include <cmath>
#include <csignal>
#include <limits>
#include <sys/resource.h>
#include <unistd.h>

namespace {

QVariant readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return PropertyList::fromData(file.readAll());
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

using UserDefaultsTest = ScratchHome;

TEST_F(UserDefaultsTest, LivesUnderTheScratchConfigHome) {
    EXPECT_EQ(defaults().filePath(), path() + "/config/zelvora-studio/defaults.plist");
    EXPECT_EQ(UserDefaults::standard(), &defaults());
}

TEST_F(UserDefaultsTest, UserValueWinsOverRegisteredValue) {
    defaults().registerDefaults({{"Volume", 1.0}, {"Default Editor", "audacity"}});
    EXPECT_EQ(defaults().objectForKey("Volume"), QVariant(1.0));
    EXPECT_FALSE(defaults().objectForKey("Missing").isValid());
    EXPECT_FALSE(defaults().hasObjectForKey("Missing"));

    defaults().setObject(0.5, "Volume");
    EXPECT_EQ(defaults().doubleForKey("Volume"), 0.5);
    defaults().removeObject("Volume");
    EXPECT_EQ(defaults().doubleForKey("Volume"), 1.0);
    EXPECT_TRUE(defaults().hasObjectForKey("Volume"));

    // Registering again merges; an invalid value removes the user's entry.
    defaults().registerDefaults({{"Read ID3 Tags", true}});
    EXPECT_EQ(defaults().stringForKey("Default Editor"), "audacity");
    defaults().setObject("vim", "Default Editor");
    EXPECT_FALSE(defaults().setObject(QVariant(), "Default Editor"));
    EXPECT_EQ(defaults().stringForKey("Default Editor"), "audacity");
}

TEST_F(UserDefaultsTest, RegisteredValuesAreNeverWritten) {
    defaults().registerDefaults({{"Function Key 1", ""}, {"Lock Window Positions", false}});
    EXPECT_FALSE(QFile::exists(defaults().filePath()));

    defaults().setObject(true, "Use GPI");
    const QVariantMap onDisk = readFile(defaults().filePath()).toMap();
    EXPECT_TRUE(PropertyList::isIdentical(onDisk, QVariantMap{{"Use GPI", true}}));
}

TEST_F(UserDefaultsTest, ValuesPersistAcrossARestartWithTheirTypes) {
    const QVariantMap record{
        {"Output Name", "Output 1"}, {"Left Channel Output Tag", 65536}, {"Volume", 1.0}};
    const QDateTime when(QDate(2024, 1, 2), QTime(3, 4, 5), QTimeZone::utc());
    defaults().setObject(true, "Should Open Untitled Preset");
    defaults().setObject(7, "Count");
    defaults().setObject(QVariant::fromValue<qlonglong>(1LL << 40), "Big");
    defaults().setObject(2.0, "Duration");
    defaults().setObject(QString::fromUtf8("Grüße"), "Name");
    defaults().setObject(record, "Output Settings 0");
    defaults().setObject(QStringList{"a", "b"}, "Recent");
    defaults().setObject(QByteArray("\x00\x01", 2), "Alias");
    defaults().setObject(when, "Saved");
    const QVariantMap before = {{"Should Open Untitled Preset", true},
                                {"Count", 7},
                                {"Big", QVariant::fromValue<qlonglong>(1LL << 40)},
                                {"Duration", 2.0},
                                {"Name", QString::fromUtf8("Grüße")},
                                {"Output Settings 0", record},
                                {"Recent", QVariantList{"a", "b"}},
                                {"Alias", QByteArray("\x00\x01", 2)},
                                {"Saved", when}};
    restart();
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        EXPECT_TRUE(PropertyList::isIdentical(defaults().objectForKey(it.key()), it.value()))
            << it.key().toStdString() << " came back as "
            << defaults().objectForKey(it.key()).typeName();
    }
    EXPECT_TRUE(defaults().registeredDefaults().isEmpty());
}

TEST_F(UserDefaultsTest, StoredValuesLookAsTheyWillAfterARestart) {
    defaults().setObject(QStringList{"x"}, "List");
    defaults().setObject(0.25f, "Float");
    EXPECT_EQ(defaults().objectForKey("List").typeId(), QMetaType::QVariantList);
    EXPECT_EQ(defaults().objectForKey("Float").typeId(), QMetaType::Double);
}

TEST_F(UserDefaultsTest, BoolFromNumbersAndStrings) {
    struct Case {
        QVariant value;
        bool expected;
    };
    const Case cases[] = {
        {true, true},
        {false, false},
        {0, false},
        {-3, true},
        {0.0, false},
        {0.5, true},
        {"YES", true},
        {"yes", true},
        {"true", true},
        {"T", true},
        {"1", true},
        {"  +0007", true},
        {"-5", true},
        {"NO", false},
        {"false", false},
        {"0", false},
        {"0.9", false},
        {"", false},
        {"maybe", false},
        {QVariantMap{{"a", 1}}, false},
        {QByteArray("1"), false},
    };
    for (const Case& c : cases) {
        defaults().setObject(c.value, "Key");
        EXPECT_EQ(defaults().boolForKey("Key"), c.expected) << c.value.toString().toStdString();
    }
    EXPECT_FALSE(defaults().boolForKey("Absent"));
}

TEST_F(UserDefaultsTest, IntegerFromNumbersAndStrings) {
    struct Case {
        QVariant value;
        int expected;
    };
    const Case cases[] = {
        {true, 1},
        {42, 42},
        {2.9, 2},
        {-2.9, -2},
        {1e20, std::numeric_limits<int>::max()},
        {QVariant::fromValue<qlonglong>(-5000000000LL), std::numeric_limits<int>::min()},
        {QVariant::fromValue<quint64>(std::numeric_limits<quint64>::max()),
         std::numeric_limits<int>::max()},
        {"42 px", 42},
        {"  -17", -17},
        {"+8", 8},
        {"3.9", 3},
        {"px 42", 0},
        {"99999999999", std::numeric_limits<int>::max()},
        {QVariantList{1}, 0},
    };
    for (const Case& c : cases) {
        defaults().setObject(c.value, "Key");
        EXPECT_EQ(defaults().integerForKey("Key"), c.expected) << c.value.toString().toStdString();
    }
    EXPECT_EQ(defaults().integerForKey("Absent"), 0);
}

TEST_F(UserDefaultsTest, DoubleFromNumbersAndStrings) {
    struct Case {
        QVariant value;
        double expected;
    };
    const Case cases[] = {
        {true, 1.0},       {3, 3.0},      {2.5, 2.5},      {"2.5s", 2.5},
        {" -1e3x", -1000}, {".5", 0.5},   {"-.25", -0.25}, {"abc", 0.0},
        {"inf", 0.0},      {"0x10", 0.0}, {"1e-999", 0.0}, {QByteArray("2"), 0.0},
    };
    for (const Case& c : cases) {
        defaults().setObject(c.value, "Key");
        EXPECT_DOUBLE_EQ(defaults().doubleForKey("Key"), c.expected)
            << c.value.toString().toStdString();
    }
    defaults().setObject("1e999", "Key");
    EXPECT_TRUE(std::isinf(defaults().doubleForKey("Key")));
    EXPECT_EQ(defaults().doubleForKey("Absent"), 0.0);
}

TEST_F(UserDefaultsTest, TypedGettersFallBackOnOtherTypes) {
    defaults().registerDefaults({{"Dict", QVariantMap{{"a", 1}}},
                                 {"List", QVariantList{1}},
                                 {"Data", QByteArray("xy")},
                                 {"Text", "hello"},
                                 {"Real", 2.5},
                                 {"Int", 7},
                                 {"Flag", true}});
    EXPECT_EQ(defaults().dictionaryForKey("Dict"), (QVariantMap{{"a", 1}}));
    defaults().registerDefaults({{"Hash", QVariantHash{{"h", 2}}}, {"Names", QStringList{"n"}}});
    EXPECT_EQ(defaults().dictionaryForKey("Hash"), (QVariantMap{{"h", 2}}));
    EXPECT_EQ(defaults().arrayForKey("Names"), QVariantList{"n"});
    EXPECT_EQ(defaults().arrayForKey("List"), QVariantList{1});
    EXPECT_EQ(defaults().dataForKey("Data"), QByteArray("xy"));
    EXPECT_TRUE(defaults().dictionaryForKey("List").isEmpty());
    EXPECT_TRUE(defaults().dictionaryForKey("Text").isEmpty());
    EXPECT_TRUE(defaults().arrayForKey("Dict").isEmpty());
    EXPECT_TRUE(defaults().dataForKey("Text").isEmpty());
    EXPECT_EQ(defaults().stringForKey("Real"), "2.5");
    EXPECT_EQ(defaults().stringForKey("Int"), "7");
    EXPECT_EQ(defaults().stringForKey("Flag"), "1");
    EXPECT_EQ(defaults().stringForKey("Dict"), "");
    EXPECT_EQ(defaults().stringForKey("Data"), "");
    EXPECT_EQ(defaults().stringForKey("Absent"), "");
}

TEST_F(UserDefaultsTest, ExactlyOneSignalPerChange) {
    QSignalSpy spy(&defaults(), &UserDefaults::defaultsChanged);
    defaults().setObject(1, "A");
    EXPECT_EQ(spy.count(), 1);
    defaults().setObject(1, "A"); // the same value
    EXPECT_EQ(spy.count(), 1);
    defaults().setObject(1.0, "A"); // same number, another type: a change
    EXPECT_EQ(spy.count(), 2);
    EXPECT_EQ(defaults().objectForKey("A").typeId(), QMetaType::Double);
    defaults().setObject(QVariantMap{{"x", QVariantList{1}}}, "B");
    defaults().setObject(QVariantMap{{"x", QVariantList{1}}}, "B");
    EXPECT_EQ(spy.count(), 3);
    defaults().removeObject("A");
    EXPECT_EQ(spy.count(), 4);
    defaults().removeObject("A"); // already gone
    EXPECT_EQ(spy.count(), 4);
    defaults().registerDefaults({{"R", 1}});
    EXPECT_EQ(spy.count(), 5);
    defaults().registerDefaults({{"R", 1}});
    EXPECT_EQ(spy.count(), 5);
    defaults().registerDefaults({{"R", 2}, {"S", 3}});
    EXPECT_EQ(spy.count(), 6);
}

TEST_F(UserDefaultsTest, UnstorableValueIsRefusedAndChangesNothing) {
    defaults().setObject(1, "Output Color");
    QSignalSpy spy(&defaults(), &UserDefaults::defaultsChanged);
    LogCapture log("zelvora.defaults");
    EXPECT_FALSE(defaults().setObject(QColor(Qt::red), "Output Color"));
    EXPECT_FALSE(defaults().setObject(QVariantMap{{"Inner", QColor(Qt::red)}}, "Record"));
    EXPECT_EQ(spy.count(), 0);
    EXPECT_EQ(defaults().objectForKey("Output Color"), QVariant(1));
    EXPECT_FALSE(defaults().hasObjectForKey("Record"));
    EXPECT_TRUE(log.contains("\"Record/Inner\"")) << log.text();
    EXPECT_TRUE(log.contains("QColor"));
}

TEST_F(UserDefaultsTest, UnknownKeysInTheFileAreWrittenBackUnchanged) {
    const QByteArray file = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                            "<plist version=\"1.0\"><dict>"
                            "<key>From A Later Version</key><dict>"
                            "<key>Real</key><real>1</real>"
                            "<key>Int</key><integer>1</integer>"
                            "<key>Huge</key><integer>18446744073709551615</integer>"
                            "<key>When</key><date>2030-01-01T00:00:00Z</date>"
                            "<key>Blob</key><data>AAEC</data>"
                            "<key>Off</key><false/></dict>"
                            "<key>Volume</key><real>0.5</real>"
                            "</dict></plist>\n";
    writeFile(defaults().filePath(), file);
    const QVariant original = PropertyList::fromData(file).toMap().value("From A Later Version");
    ASSERT_TRUE(original.isValid());
    restart();
    defaults().setObject(0.75, "Volume");
    const QVariantMap onDisk = readFile(defaults().filePath()).toMap();
    EXPECT_TRUE(PropertyList::isIdentical(onDisk.value("From A Later Version"), original));
    EXPECT_EQ(onDisk.value("Volume"), QVariant(0.75));
}

TEST_F(UserDefaultsTest, MalformedFileIsReportedAndMovedAsideBeforeTheFirstWrite) {
    const QByteArray garbage = "<plist><dict><key>Volume</key></dict></plist>";
    writeFile(defaults().filePath(), garbage);
    LogCapture log("zelvora.defaults");
    restart();
    EXPECT_EQ(log.lines().size(), 1) << log.text();
    EXPECT_TRUE(log.contains(defaults().filePath()));
    EXPECT_TRUE(log.contains("\"Volume\" has no value"));

    // The program runs on registered values; nothing is written yet.
    defaults().registerDefaults({{"Volume", 1.0}});
    EXPECT_EQ(defaults().doubleForKey("Volume"), 1.0);
    QFile stillThere(defaults().filePath());
    ASSERT_TRUE(stillThere.open(QIODevice::ReadOnly));
    EXPECT_EQ(stillThere.readAll(), garbage);
    stillThere.close();

    defaults().setObject(0.5, "Volume");
    const QDir folder(QFileInfo(defaults().filePath()).absolutePath());
    const QStringList aside = folder.entryList({"defaults.plist.bad-*"}, QDir::Files);
    ASSERT_EQ(aside.size(), 1);
    QFile moved(folder.filePath(aside.first()));
    ASSERT_TRUE(moved.open(QIODevice::ReadOnly));
    EXPECT_EQ(moved.readAll(), garbage);
    EXPECT_TRUE(log.contains(aside.first()));
    EXPECT_TRUE(
        PropertyList::isIdentical(readFile(defaults().filePath()), QVariantMap{{"Volume", 0.5}}));

    // Only once: the next change writes over the new, good file.
    defaults().setObject(0.6, "Volume");
    EXPECT_EQ(folder.entryList({"defaults.plist.bad-*"}, QDir::Files).size(), 1);
}

TEST_F(UserDefaultsTest, FileHoldingNoDictIsTreatedAsMalformed) {
    writeFile(defaults().filePath(), PropertyList::toXml(QVariantList{1, 2}));
    LogCapture log("zelvora.defaults");
    restart();
    EXPECT_TRUE(log.contains("instead of a dict")) << log.text();
    EXPECT_FALSE(defaults().lastError().isEmpty());
    defaults().setObject(1, "A");
    EXPECT_EQ(QDir(QFileInfo(defaults().filePath()).absolutePath())
                  .entryList({"defaults.plist.bad-*"}, QDir::Files)
                  .size(),
              1);
}

TEST_F(UserDefaultsTest, FolderThatCannotBeCreatedKeepsValuesInMemory) {
    // A plain file where the folder should be: not even root can create it.
    writeFile(path() + "/blocked", "not a folder");
    UserDefaults store(path() + "/blocked/zelvora-studio");
    QSignalSpy spy(&store, &UserDefaults::defaultsChanged);
    LogCapture log("zelvora.defaults");
    EXPECT_TRUE(store.setObject(0.5, "Volume"));
    EXPECT_TRUE(store.setObject(0.6, "Volume"));
    EXPECT_EQ(store.doubleForKey("Volume"), 0.6);
    EXPECT_EQ(spy.count(), 2);
    EXPECT_FALSE(store.lastError().isEmpty());
    // Reported once, not for every change.
    EXPECT_EQ(log.lines().size(), 1) << log.text();
    EXPECT_TRUE(log.contains("cannot create the folder"));
}

// A full disk, provoked with a file-size limit of zero (which binds root too): the save
// fails, the file on disk keeps its last good state, the value lives on in memory.
TEST_F(UserDefaultsTest, FailedSaveLeavesTheFileIntactAndValuesLiveOn) {
    defaults().setObject(1, "Saved Before");
    QSignalSpy spy(&defaults(), &UserDefaults::defaultsChanged);
    LogCapture log("zelvora.defaults");
    bool stored = false;
    {
        DiskFullScope full;
        ASSERT_TRUE(full.isActive());
        stored = defaults().setObject(2, "Changed After");
    }

    EXPECT_TRUE(stored);
    EXPECT_EQ(spy.count(), 1);
    EXPECT_EQ(defaults().integerForKey("Changed After"), 2);
    EXPECT_TRUE(log.contains("Settings not saved")) << log.text();
    EXPECT_TRUE(defaults().lastError().contains(defaults().filePath()));
    EXPECT_TRUE(PropertyList::isIdentical(readFile(defaults().filePath()),
                                          QVariantMap{{"Saved Before", 1}}));
    // The next successful save clears the error and writes both values.
    defaults().setObject(3, "Changed After");
    EXPECT_TRUE(defaults().lastError().isEmpty());
    EXPECT_TRUE(PropertyList::isIdentical(readFile(defaults().filePath()),
                                          QVariantMap{{"Saved Before", 1}, {"Changed After", 3}}));
}

TEST_F(UserDefaultsTest, ReadOnlyFolderIsReportedAndValuesLiveOn) {
    defaults().setObject(1, "Saved Before");
    const QString folder = QFileInfo(defaults().filePath()).absolutePath();
    ASSERT_TRUE(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    const auto restorePermissions = qScopeGuard([&] {
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
    });
    QFile probe(folder + "/probe");
    if (probe.open(QIODevice::WriteOnly)) {
        probe.remove();
        GTEST_SKIP() << "the folder stays writable after chmod 0500 (running as root, uid "
                     << geteuid() << "), so a failing save cannot be provoked this way";
    }
    LogCapture log("zelvora.defaults");
    EXPECT_TRUE(defaults().setObject(2, "Changed After"));
    EXPECT_EQ(defaults().integerForKey("Changed After"), 2);
    EXPECT_TRUE(log.contains("Settings not saved")) << log.text();
    EXPECT_TRUE(defaults().lastError().contains(defaults().filePath()));
    // The file on disk still holds the last good state.
    EXPECT_TRUE(PropertyList::isIdentical(readFile(defaults().filePath()),
                                          QVariantMap{{"Saved Before", 1}}));
}

} // namespace
