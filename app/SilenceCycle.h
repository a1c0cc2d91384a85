#pragma once

// Keeps every output's device busy: every 4 s one second of generated silence plays on
// the next output, 0..8 in turn and round again, routed to that output's device and
// channels as its record ("Output Settings %i") says. A device that has played nothing
// for long may go to sleep and swallow the start of the next clip; this wakes it.
//
// No silence movie (no audio engine): no timer runs and nothing is reported.
//
// Thread contract: main thread only.

#include <QObject>
#include <memory>

class QTimer;

namespace media {
class Movie;
}

class SilenceCycle : public QObject {
    Q_OBJECT
public:
    static constexpr int kIntervalMilliseconds = 4000;
    static constexpr int kLastOutputIndex = 8;

    explicit SilenceCycle(QObject* parent = nullptr);
    ~SilenceCycle() override;

    // Opens the silence and starts the timer; false (and no timer) when it cannot open.
    bool start();
    // Stops the timer and lets the silence go (quitting).
    void stop();
    bool isRunning() const;

    // One timer tick: plays the silence on the current output, then moves to the next.
    void silencePlaybackTimerAction();
    // Routes the silence to output `outputIndex` and plays it from its start. An output
    // without a record does nothing.
    void playSilenceMovieOnOutputPair(int outputIndex);

    // The output the next tick plays on.
    int outputPair() const { return _outputPair; }
    media::Movie* silenceMovie() const { return _silenceMovie.get(); }

private:
    QTimer* _silencePlaybackTimer;
    std::unique_ptr<media::Movie> _silenceMovie;
    int _outputPair = 0;
};
