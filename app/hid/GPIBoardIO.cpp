#include "app/hid/GPIBoardIO.h"

#include "app/hid/IOWarriorInterfaceList.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace {
constexpr auto kPulseLength = std::chrono::microseconds(1000000 / 60);
constexpr size_t kMaxQueuedPulses = 8;
} // namespace

struct GPIBoardIO::Shared {
    struct Job {
        enum class Kind { Write, Pulse, Read } kind;
        Report first{};
        Report second{};
    };

    mutable std::mutex mutex;
    std::condition_variable wake;
    std::deque<Job> jobs;
    std::shared_ptr<const IOWarriorListNode> node;
    bool readQueuedOrRunning = false;
    std::optional<ReadResult> readResult;
    bool busy = false;
    bool stop = false;
    // The failure printed last (none after a success), so a repeated one is printed once.
    std::optional<std::pair<HidTransferStatus::Stage, int>> lastFailure;
};

GPIBoardIO::GPIBoardIO(std::shared_ptr<IOWarriorBus> bus,
                       std::shared_ptr<const IOWarriorListNode> node)
    : _shared(std::make_shared<Shared>()) {
    _shared->node = std::move(node);
    std::thread(&GPIBoardIO::run, _shared, std::move(bus)).detach();
}

GPIBoardIO::~GPIBoardIO() {
    {
        std::lock_guard lock(_shared->mutex);
        _shared->stop = true;
        _shared->jobs.clear();
    }
    _shared->wake.notify_all();
}

void GPIBoardIO::setNode(std::shared_ptr<const IOWarriorListNode> node) {
    std::lock_guard lock(_shared->mutex);
    _shared->node = std::move(node);
}

void GPIBoardIO::write(const Report& report) {
    {
        std::lock_guard lock(_shared->mutex);
        std::erase_if(_shared->jobs,
                      [](const Shared::Job& job) { return job.kind == Shared::Job::Kind::Write; });
        _shared->jobs.push_back({Shared::Job::Kind::Write, report, {}});
    }
    _shared->wake.notify_one();
}

void GPIBoardIO::pulse(const Report& first, const Report& second) {
    {
        std::lock_guard lock(_shared->mutex);
        const auto pulses =
            std::count_if(_shared->jobs.begin(), _shared->jobs.end(), [](const Shared::Job& job) {
                return job.kind == Shared::Job::Kind::Pulse;
            });
        if (static_cast<size_t>(pulses) >= kMaxQueuedPulses) {
            return; // the board is not answering; a pulse that late means nothing
        }
        _shared->jobs.push_back({Shared::Job::Kind::Pulse, first, second});
    }
    _shared->wake.notify_one();
}

void GPIBoardIO::requestRead() {
    {
        std::lock_guard lock(_shared->mutex);
        if (_shared->readQueuedOrRunning || _shared->readResult) {
            return;
        }
        _shared->readQueuedOrRunning = true;
        _shared->jobs.push_back({Shared::Job::Kind::Read, {}, {}});
    }
    _shared->wake.notify_one();
}

bool GPIBoardIO::takeReadResult(ReadResult* result) {
    std::lock_guard lock(_shared->mutex);
    if (!_shared->readResult) {
        return false;
    }
    *result = *_shared->readResult;
    _shared->readResult.reset();
    return true;
}

bool GPIBoardIO::isIdle() const {
    std::lock_guard lock(_shared->mutex);
    return _shared->jobs.empty() && !_shared->busy;
}

namespace {

// Prints `status` unless it repeats the failure printed last; a success forgets it.
template <typename Shared>
void noteOutcome(Shared& shared, const HidTransferStatus& status) {
    std::lock_guard lock(shared.mutex);
    if (status.ok()) {
        shared.lastFailure.reset();
        return;
    }
    const std::pair failure{status.stage, status.error};
    if (shared.lastFailure != failure) {
        shared.lastFailure = failure;
        IOWarriorInterfaceList::printFailure(status);
    }
}

} // namespace

void GPIBoardIO::run(std::shared_ptr<Shared> shared, std::shared_ptr<IOWarriorBus> bus) {
    for (;;) {
        Shared::Job job;
        std::shared_ptr<const IOWarriorListNode> node;
        {
            std::unique_lock lock(shared->mutex);
            shared->busy = false;
            shared->wake.wait(lock, [&] { return shared->stop || !shared->jobs.empty(); });
            if (shared->stop) {
                return;
            }
            job = shared->jobs.front();
            shared->jobs.pop_front();
            node = shared->node;
            shared->busy = true;
        }
        if (job.kind == Shared::Job::Kind::Read) {
            ReadResult result;
            HidTransferStatus status{HidTransferStatus::Stage::OpenFailed, ENODEV, 0};
            if (node) {
                status = IOWarriorInterfaceList::readFromInterface(
                    *bus, *node, 0, result.report.data(), kReportLength);
            }
            result.ok = status.ok();
            noteOutcome(*shared, status);
            std::lock_guard lock(shared->mutex);
            shared->readResult = result;
            shared->readQueuedOrRunning = false;
            continue;
        }
        if (!node) {
            continue;
        }
        noteOutcome(*shared, IOWarriorInterfaceList::writeToInterface(*bus, *node, job.first.data(),
                                                                      kReportLength));
        if (job.kind == Shared::Job::Kind::Pulse) {
            std::this_thread::sleep_for(kPulseLength);
            noteOutcome(*shared, IOWarriorInterfaceList::writeToInterface(
                                     *bus, *node, job.second.data(), kReportLength));
        }
    }
}
