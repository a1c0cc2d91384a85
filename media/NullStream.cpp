#include "media/NullStream.h"

#include "media/RenderCallback.h"

#include <ctime>
#include <memory>
#include <pthread.h>
#include <sched.h>

namespace media {

namespace {

constexpr long long kNanosecondsPerSecond = 1000000000LL;
// Below JACK's usual 70 for its own clients, above every ordinary thread.
constexpr int kRealtimePriority = 60;

long long monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

void sleepUntil(long long deadlineNs) {
    timespec deadline{};
    deadline.tv_sec = deadlineNs / kNanosecondsPerSecond;
    deadline.tv_nsec = deadlineNs % kNanosecondsPerSecond;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) != 0) {
    }
}

} // namespace

NullStream::NullStream(int channels, int sampleRate, int periodFrames, RenderCallback* callback)
    : _channels(channels)
    , _sampleRate(sampleRate)
    , _periodFrames(periodFrames)
    , _callback(callback) {}

NullStream::~NullStream() {
    _stopping.store(true, std::memory_order_release);
    if (_thread.joinable()) {
        _thread.join();
    }
}

bool NullStream::start() {
    if (!_thread.joinable()) {
        _thread = std::thread([this] { run(); });
    }
    return true;
}

void NullStream::run() {
    // Like a device's own audio thread, ask for real-time scheduling so other work on
    // the machine does not delay the periods; without the privilege it runs as it is.
    sched_param parameters{};
    parameters.sched_priority = kRealtimePriority;
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters);
    // Allocated before the first period: the loop itself never allocates.
    const auto buffer = std::make_unique<float[]>(size_t(_periodFrames) * size_t(_channels));
    const long long periodNs = (long long)_periodFrames * kNanosecondsPerSecond / _sampleRate;
    long long deadline = monotonicNs();
    while (!_stopping.load(std::memory_order_acquire)) {
        _callback->render(buffer.get(), _channels, _periodFrames);
        deadline += periodNs;
        const long long now = monotonicNs();
        if (now > deadline + periodNs) {
            deadline = now; // fell far behind (machine stalled): drop the lost time
        }
        sleepUntil(deadline);
    }
}

} // namespace media
