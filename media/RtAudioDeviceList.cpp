#include "media/RtAudioDeviceList.h"

#include <QHash>

namespace media {

namespace {

size_t slot(AudioApi api) {
    return static_cast<size_t>(api);
}

QString prefixOf(AudioApi api) {
    switch (api) {
    case AudioApi::Jack:
        return QStringLiteral("jack:");
    case AudioApi::Pulse:
        return QStringLiteral("pulse:");
    case AudioApi::Alsa:
        return QStringLiteral("alsa:");
    }
    return {};
}

// ALSA devices come as "hw:<card name>,<device>"; the "hw:" says nothing to the operator
// and the rest already identifies the device independently of the card's index.
QString meaningfulPart(AudioApi api, const QString& apiName) {
    if (api == AudioApi::Alsa && apiName.startsWith(QLatin1String("hw:"))) {
        return apiName.mid(3);
    }
    return apiName;
}

QString baseIdentifier(AudioApi api, const QString& apiName) {
    return prefixOf(api) + meaningfulPart(api, apiName);
}

} // namespace

std::vector<QString> RtAudioDeviceList::identifiers(AudioApi api,
                                                    const std::vector<QString>& apiNames) {
    std::vector<QString> result;
    result.reserve(apiNames.size());
    QHash<QString, int> seen;
    for (const QString& apiName : apiNames) {
        if (apiName.isEmpty()) {
            result.emplace_back();
            continue;
        }
        const QString base = baseIdentifier(api, apiName);
        const int occurrence = ++seen[base];
        result.push_back(occurrence == 1 ? base
                                         : base + QLatin1Char('#') + QString::number(occurrence));
    }
    return result;
}

bool RtAudioDeviceList::apiOfIdentifier(const QString& uid, AudioApi* api) {
    for (AudioApi candidate : {AudioApi::Jack, AudioApi::Pulse, AudioApi::Alsa}) {
        const QString prefix = prefixOf(candidate);
        if (uid.startsWith(prefix) && uid.size() > prefix.size()) {
            if (api) {
                *api = candidate;
            }
            return true;
        }
    }
    return false;
}

QString RtAudioDeviceList::readableName(AudioApi api, const QString& apiName) {
    const QString part = meaningfulPart(api, apiName);
    switch (api) {
    case AudioApi::Jack:
        return part + QLatin1String(" (JACK)");
    case AudioApi::Pulse:
        if (part.contains(QLatin1String("pulse"), Qt::CaseInsensitive)) {
            return part;
        }
        return part + QLatin1String(" (PulseAudio)");
    case AudioApi::Alsa:
        return part + QLatin1String(" (ALSA)");
    }
    return part;
}

void RtAudioDeviceList::update(AudioApi api, const std::vector<ProbedDevice>& probe) {
    ApiState& state = _apis[slot(api)];
    std::vector<QString> names;
    names.reserve(probe.size());
    for (const ProbedDevice& device : probe) {
        names.push_back(device.apiName);
    }
    const std::vector<QString> uids = identifiers(api, names);
    const bool samePositions = state.positions.size() == probe.size();

    std::vector<Entry> entries;
    std::vector<Entry> positions(probe.size());
    for (size_t i = 0; i < probe.size(); ++i) {
        const ProbedDevice& device = probe[i];
        Entry entry;
        if (device.probed && device.outputChannels > 0 && !device.apiName.isEmpty()) {
            const QString base = baseIdentifier(api, device.apiName);
            const QString duplicateMark = uids[i].mid(base.size()); // "" or "#2", "#3", ...
            entry.info.name = readableName(api, device.apiName);
            if (!duplicateMark.isEmpty()) {
                entry.info.name += QLatin1Char(' ') + duplicateMark;
            }
            entry.info.uid = uids[i];
            entry.info.outputChannels = device.outputChannels;
            entry.info.preferredSampleRate = device.preferredSampleRate;
            entry.apiName = device.apiName;
            entry.apiDefault = device.apiDefault;
        } else {
            // Busy: the API could not open the device to look at it.
            const Entry* previous = nullptr;
            if (!device.apiName.isEmpty()) {
                previous = findByUid(state.entries, uids[i]);
            } else if (samePositions && !state.positions[i].info.uid.isEmpty()) {
                previous = &state.positions[i];
            }
            if (!previous || findByUid(entries, previous->info.uid)) {
                continue;
            }
            entry = *previous;
        }
        positions[i] = entry;
        entries.push_back(entry);
    }
    state.entries = std::move(entries);
    state.positions = std::move(positions);
}

std::vector<AudioDeviceInfo> RtAudioDeviceList::devices() const {
    std::vector<AudioDeviceInfo> result;
    bool defaultChosen = false;
    for (AudioApi api : {AudioApi::Jack, AudioApi::Pulse, AudioApi::Alsa}) {
        const std::vector<Entry>& entries = _apis[slot(api)].entries;
        const int chosen = defaultChosen ? -1 : defaultIndex(api, entries);
        for (size_t i = 0; i < entries.size(); ++i) {
            AudioDeviceInfo info = entries[i].info;
            info.isDefault = static_cast<int>(i) == chosen;
            result.push_back(info);
        }
        defaultChosen = defaultChosen || chosen >= 0;
    }

    // Output records refer to devices by name, so a name must not stand for two devices.
    QHash<QString, int> seen;
    for (AudioDeviceInfo& info : result) {
        const int occurrence = ++seen[info.name];
        if (occurrence > 1) {
            info.name += QLatin1String(" #") + QString::number(occurrence);
        }
    }
    return result;
}

const RtAudioDeviceList::Entry* RtAudioDeviceList::findByUid(const std::vector<Entry>& entries,
                                                             const QString& uid) {
    for (const Entry& entry : entries) {
        if (entry.info.uid == uid) {
            return &entry;
        }
    }
    return nullptr;
}

// JACK's "system" client is the sound card the server runs on; ALSA's "default" PCM is
// what the user configured as the default. Otherwise the API's own choice, else the first.
int RtAudioDeviceList::defaultIndex(AudioApi api, const std::vector<Entry>& entries) {
    if (entries.empty()) {
        return -1;
    }
    const QString preferredName = api == AudioApi::Jack   ? QStringLiteral("system")
                                  : api == AudioApi::Alsa ? QStringLiteral("default")
                                                          : QString();
    if (!preferredName.isEmpty()) {
        for (size_t i = 0; i < entries.size(); ++i) {
            if (entries[i].apiName == preferredName) {
                return static_cast<int>(i);
            }
        }
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].apiDefault) {
            return static_cast<int>(i);
        }
    }
    return 0;
}

} // namespace media
