#include "clip/ClipSettingsHolder.h"

#include "clip/ValueConversion.h"

#include <utility>

ClipSettingsHolder::ClipSettingsHolder(std::shared_ptr<QVariantMap> settings)
    : _settingsDict(std::move(settings)) {}

ClipSettingsHolder::~ClipSettingsHolder() = default;

void ClipSettingsHolder::setSettings(std::shared_ptr<QVariantMap> settings) {
    _settingsDict = std::move(settings);
}

QVariant ClipSettingsHolder::valueForSettingsKey(const QString& key) const {
    return _settingsDict ? _settingsDict->value(key) : QVariant();
}

bool ClipSettingsHolder::boolValueForSettingsKey(const QString& key) const {
    return boolFromValue(valueForSettingsKey(key), false);
}

double ClipSettingsHolder::doubleValueForSettingsKey(const QString& key) const {
    return doubleFromValue(valueForSettingsKey(key), 0.0);
}

int ClipSettingsHolder::intValueForSettingsKey(const QString& key) const {
    return intFromValue(valueForSettingsKey(key), 0);
}

QString ClipSettingsHolder::stringValueForSettingsKey(const QString& key) const {
    return stringFromValue(valueForSettingsKey(key), QString());
}
