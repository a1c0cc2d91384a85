#pragma once

// The per-user defaults store: factory values registered at start (never written to disk)
// under the values the user changed, which persist as one XML property list in
// $XDG_CONFIG_HOME/zelvora-studio/defaults.plist. Main thread only.
//
// Lookup order: the user's value, then the registered value. Every change (setObject,
// removeObject, registerDefaults) is written to the file atomically (registered values
// excepted) and then announced by exactly one defaultsChanged(), so open documents can
// re-read what they use. Setting a value identical to the stored one changes nothing.
//
// Keys in the file that this program does not know are kept and written back unchanged.
// A file that cannot be read is reported (zelvora.defaults), the program runs on the
// registered values, and before the first change is saved the bad file is moved aside to
// defaults.plist.bad-<timestamp>, so it is never overwritten silently. When the file
// cannot be written (a read-only configuration directory, a full disk), that is reported
// and the values live on in memory for this session.

#include <QObject>
#include <QString>
#include <QVariant>

class UserDefaults : public QObject {
    Q_OBJECT
public:
    // Reads the user's values from `directory`/defaults.plist; the directory is created
    // when the first change is saved. A missing file is an empty store.
    explicit UserDefaults(const QString& directory = defaultDirectory(), QObject* parent = nullptr);
    ~UserDefaults() override;

    // $XDG_CONFIG_HOME/zelvora-studio (or ~/.config/zelvora-studio).
    static QString defaultDirectory();

    // The store the application installed at start; tests install their own. May be null
    // before the application installs one.
    static UserDefaults* standard();
    static void setStandard(UserDefaults* defaults);

    // Adds to (or replaces entries of) the registered values; emits defaultsChanged()
    // once when any entry is new or different.
    void registerDefaults(const QVariantMap& values);
    QVariantMap registeredDefaults() const;

    // The typed getters follow the conventions of Cocoa's user defaults:
    QVariant objectForKey(const QString& key) const; // invalid when absent
    // The text of a string, the decimal text of a number ("1"/"0" for a bool); "" else.
    QString stringForKey(const QString& key) const;
    // A number: non-zero. A string: true when it starts (after white space, a sign and
    // zeros) with Y, y, T, t or a digit 1-9, so "YES", "true", "1" are true. Else false.
    bool boolForKey(const QString& key) const;
    // A number truncated towards zero (clamped to int); a string by its leading integer
    // ("42 px" is 42, "px" is 0); else 0.
    int integerForKey(const QString& key) const;
    // A number; a string by its leading decimal number ("2.5s" is 2.5); else 0.0.
    double doubleForKey(const QString& key) const;
    QVariantMap dictionaryForKey(const QString& key) const; // empty when absent or not a dict
    QVariantList arrayForKey(const QString& key) const;     // empty when absent or not an array
    QByteArray dataForKey(const QString& key) const;        // empty when absent or not data
    bool hasObjectForKey(const QString& key) const;

    // Stores a user value. A value that a property list cannot hold (a QColor, a QUrl) is
    // refused with a message and changes nothing; an invalid QVariant removes the key.
    // Returns whether the value is now stored.
    bool setObject(const QVariant& value, const QString& key);
    void removeObject(const QString& key);

    // Path of the file the user's values live in.
    QString filePath() const;
    // The last read or write error ("" after a successful write).
    QString lastError() const;

signals:
    void defaultsChanged();

private:
    void readUserValues();
    bool writeUserValues();
    bool moveBadFileAside();
    void reportWriteError(const QString& message);

    QString _directory;
    QVariantMap _registered;
    QVariantMap _userValues;
    QString _lastError;
    // The file on disk could not be read; it must be moved aside before a write.
    bool _badFileOnDisk = false;
};
