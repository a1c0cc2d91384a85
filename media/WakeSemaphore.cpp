#include "media/WakeSemaphore.h"

#include <cerrno>
#include <ctime>

namespace media {

WakeSemaphore::WakeSemaphore() {
    sem_init(&_semaphore, 0, 0);
}

WakeSemaphore::~WakeSemaphore() {
    sem_destroy(&_semaphore);
}

void WakeSemaphore::post() {
    sem_post(&_semaphore);
}

bool WakeSemaphore::wait(int timeoutMs) {
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += timeoutMs / 1000;
    deadline.tv_nsec += long(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    while (sem_timedwait(&_semaphore, &deadline) != 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace media
