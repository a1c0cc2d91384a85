#pragma once

// Something that carries a clip settings record and reads it through the four typed
// accessors: the clip itself and the clip settings editor. The record is shared by
// reference, never copied: a clip made without a record of its own holds the document's
// default record object, so edits through either are seen by both. Whoever wants an
// independent record passes a copy. Main thread only.

#include <QString>
#include <QVariantMap>
#include <memory>

class ClipSettingsHolder {
public:
    explicit ClipSettingsHolder(std::shared_ptr<QVariantMap> settings = nullptr);
    virtual ~ClipSettingsHolder();

    ClipSettingsHolder(const ClipSettingsHolder&) = delete;
    ClipSettingsHolder& operator=(const ClipSettingsHolder&) = delete;

    // The current record (null until one is given; a null record reads as an empty one).
    std::shared_ptr<QVariantMap> settings() const { return _settingsDict; }
    // Replaces the record, dropping this holder's share of the old one. A clip must then
    // be told settingsHaveChanged() so it re-reads its output.
    virtual void setSettings(std::shared_ptr<QVariantMap> settings);

    // The key's value, or NO / 0.0 / 0 / "" when it is absent or neither number nor text.
    bool boolValueForSettingsKey(const QString& key) const;
    double doubleValueForSettingsKey(const QString& key) const;
    int intValueForSettingsKey(const QString& key) const;
    QString stringValueForSettingsKey(const QString& key) const;

private:
    QVariant valueForSettingsKey(const QString& key) const;

    std::shared_ptr<QVariantMap> _settingsDict;
};
