#pragma once

// The per-user defaults store: factory values registered at start (never written to disk)
// under the values the user changed, which persist as one XML property list in
// $XDG_CONFIG_HOME/zelvora-studio/defaults.plist. Main thread only.
//
// Lookup order: the user's value, then the registered value. Every change (setObject,
// removeObject, registerDefaults) writes the file atomically and then emits
// defaultsChanged() once, so open documents can re-read what they use.

#include <QObject>
#include <QString>
#include <QVariant>

class UserDefaults : public QObject {
    Q_OBJECT
public:
    // Reads the user's values from `directory` (created when missing). A missing file is
    // an empty store; a malformed one is logged, kept on disk as it is, and not used.
    explicit UserDefaults(const QString& directory = defaultDirectory(),
                          QObject* parent = nullptr);
    ~UserDefaults() override;

    // $XDG_CONFIG_HOME/zelvora-studio (or ~/.config/zelvora-studio).
    static QString defaultDirectory();

    // The store the application installed at start; tests install their own. May be null
    // before the application installs one.
    static UserDefaults* standard();
    static void setStandard(UserDefaults* defaults);

    void registerDefaults(const QVariantMap& values);
    QVariantMap registeredDefaults() const;

    QVariant objectForKey(const QString& key) const;      // invalid when absent
    QString stringForKey(const QString& key) const;       // "" when absent or not text
    bool boolForKey(const QString& key) const;            // false when absent
    int integerForKey(const QString& key) const;          // 0 when absent
    double doubleForKey(const QString& key) const;        // 0.0 when absent
    QVariantMap dictionaryForKey(const QString& key) const; // empty when absent or not a dict
    QVariantList arrayForKey(const QString& key) const;   // empty when absent or not an array
    QByteArray dataForKey(const QString& key) const;      // empty when absent or not data
    bool hasObjectForKey(const QString& key) const;

    void setObject(const QVariant& value, const QString& key);
    void removeObject(const QString& key);

    // Path of the file the user's values live in.
    QString filePath() const;
    // The last write error ("" after a successful write).
    QString lastError() const;

signals:
    void defaultsChanged();

private:
    bool writeUserValues();

    QString _directory;
    QVariantMap _registered;
    QVariantMap _userValues;
    QString _lastError;
};
