#include "media/Voice.h"

#include "media/AudioSource.h"
#include "media/DecoderPool.h"

namespace media {

namespace {
int sourceChannels(const AudioSource& source) {
    return source.channels() == 1 ? 1 : 2;
}
} // namespace

Voice::Voice(std::unique_ptr<AudioSource> source, DecoderPool* pool, const QString& name)
    : ring(kRingBlocks, kBlockFrames, sourceChannels(*source))
    , renderer(*this)
    , feeder(*this, std::move(source))
    , _channels(ring.channels())
    , _durationFrames(feeder.durationFrames())
    , _name(name)
    , _pool(pool) {}

Voice::~Voice() = default;

void Voice::requestFeed() {
    if (feeder.markWork() && _pool) {
        _pool->wake();
    }
}

uint64_t Voice::packRoute(int leftChannel, int rightChannel) {
    return uint64_t(uint32_t(leftChannel)) | (uint64_t(uint32_t(rightChannel)) << 32);
}

} // namespace media
