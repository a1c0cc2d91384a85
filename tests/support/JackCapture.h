#pragma once

// A JACK client that records what reaches the server's playback ports. JACK does not let
// a client tap another client's input port, so listenTo() connects a capture input to
// every output port that feeds the playback port; the capture then hears exactly what the
// port receives. Recording goes into buffers allocated up front; the process thread only
// copies and publishes the frame count.
//
// Main thread only, except process(), which runs on the JACK process thread.

#include <QString>
#include <atomic>
#include <memory>
#include <span>
#include <vector>

struct _jack_client;
struct _jack_port;

class JackCapture {
public:
    // Opens a client on the process's default JACK server with `inputs` capture inputs,
    // each with room for `capacityFrames` frames. Null and *error set on failure.
    static std::unique_ptr<JackCapture> open(int inputs, int capacityFrames, QString* error);
    ~JackCapture();

    JackCapture(const JackCapture&) = delete;
    JackCapture& operator=(const JackCapture&) = delete;

    // Connects capture input `input` to every port now feeding `playbackPort` (for
    // example "system:playback_3"). Returns how many sources it connected.
    int listenTo(int input, const QString& playbackPort);
    // The full names of the ports feeding `playbackPort` now.
    std::vector<QString> sourcesOf(const QString& playbackPort) const;

    // Drops what was recorded; recording starts again with the next process cycle.
    void restart();
    // Waits (polling, up to `timeoutMs`) until at least `frames` frames were recorded
    // since the last restart. False when the deadline passed first.
    bool waitForFrames(int frames, int timeoutMs) const;
    int recordedFrames() const;
    // Root-mean-square level of what input `input` recorded since the last restart.
    double rms(int input) const;
    // Largest absolute sample of input `input` since the last restart.
    double peak(int input) const;
    // The frequency of a steady tone on input `input`, from its zero crossings since the
    // last restart; 0 for silence.
    double toneFrequency(int input, int sampleRate) const;

private:
    JackCapture(_jack_client* client, int capacityFrames);
    static int process(unsigned int frames, void* self);
    bool restartPending() const;
    // What input `input` recorded since the last restart; empty for no such input.
    std::span<const float> recorded(int input) const;

    _jack_client* _client = nullptr;
    std::vector<_jack_port*> _ports;
    std::vector<std::vector<float>> _recordings;
    int _capacityFrames;
    std::atomic<int> _frames{0};
    std::atomic<bool> _restartRequested{false};
};
