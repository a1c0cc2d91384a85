#pragma once

// The device list of the RtAudio back end. Turns what each audio API reports into
// AudioDeviceInfo entries with a readable name and a stable identifier, keeps a device
// that a probe found busy (most often because one of our own streams holds it), and marks
// the one system default: JACK's when a JACK server runs, else the sound server's
// (PulseAudio), else ALSA's. Plain logic without any audio library. One thread at a time.

#include "media/AudioDeviceInfo.h"

#include <QString>
#include <array>
#include <vector>

namespace media {

enum class AudioApi { Jack, Pulse, Alsa };

// What one API reports about one device at one probe.
struct ProbedDevice {
    QString apiName; // as the API names it: "system", "hw:HDA Intel PCH,0", "default", ...
    int outputChannels = 0;
    int preferredSampleRate = 0;
    bool probed = true;      // false when the API listed the device but could not examine it
    bool apiDefault = false; // the API's own default output
};

class RtAudioDeviceList {
public:
    // Replaces what is known of one API with a new probe, in the API's device order. A
    // device the probe could not examine (not probed, or no output channels) keeps its
    // entry from the previous probe: by identifier when the API still named it, by position
    // when it did not and the API lists as many devices as before.
    void update(AudioApi api, const std::vector<ProbedDevice>& probe);

    // Every device with output channels: JACK first, then PulseAudio, then ALSA, each in
    // its API's order. Exactly one is marked default when the list is not empty.
    std::vector<AudioDeviceInfo> devices() const;

    // The identifiers of one probe, in its order: "jack:system", "pulse:<name>",
    // "alsa:<card>,<device>", with "#2", "#3", ... after a name the API lists again.
    static std::vector<QString> identifiers(AudioApi api, const std::vector<QString>& apiNames);
    // The API an identifier belongs to; false when it is none of this back end's.
    static bool apiOfIdentifier(const QString& uid, AudioApi* api);
    // The name shown to the operator for a device the API calls `apiName`.
    static QString readableName(AudioApi api, const QString& apiName);

private:
    struct Entry {
        AudioDeviceInfo info;
        QString apiName;
        bool apiDefault = false;
    };
    struct ApiState {
        std::vector<Entry> entries;   // what devices() shows
        std::vector<Entry> positions; // one per device of the last probe, empty when unknown
    };

    static const Entry* findByUid(const std::vector<Entry>& entries, const QString& uid);
    static int defaultIndex(AudioApi api, const std::vector<Entry>& entries);

    std::array<ApiState, 3> _apis;
};

} // namespace media
