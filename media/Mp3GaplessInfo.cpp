#include "media/Mp3GaplessInfo.h"

#include <QFile>
#include <cstring>

namespace media {

namespace {

constexpr int kId3HeaderSize = 10;
constexpr int kFirstFrameWindow = 4096; // junk tolerated before the first frame, plus the frame
constexpr int kLameTagOffset = 21;      // from the encoder string to the delay/padding bytes

quint32 bigEndian32(const uchar* bytes) {
    return (quint32(bytes[0]) << 24) | (quint32(bytes[1]) << 16) | (quint32(bytes[2]) << 8) |
           quint32(bytes[3]);
}

// Size of an ID3v2 tag starting at `header` (10 bytes), or 0 when it is not one.
qint64 id3TagSize(const QByteArray& header) {
    if (header.size() < kId3HeaderSize || !header.startsWith("ID3")) {
        return 0;
    }
    const auto* bytes = reinterpret_cast<const uchar*>(header.constData());
    qint64 size = 0;
    for (int i = 6; i < 10; ++i) {
        if (bytes[i] & 0x80) {
            return 0; // not a sync-safe integer
        }
        size = (size << 7) | bytes[i];
    }
    const bool hasFooter = bytes[5] & 0x10;
    return kId3HeaderSize + size + (hasFooter ? kId3HeaderSize : 0);
}

struct FrameHeader {
    int sideInfoSize = 0;
    int samplesPerFrame = 0;
};

// A layer III frame header at `bytes`, or sideInfoSize 0 when there is none.
FrameHeader layer3Header(const uchar* bytes) {
    FrameHeader header;
    if (bytes[0] != 0xFF || (bytes[1] & 0xE0) != 0xE0) {
        return header;
    }
    const int version = (bytes[1] >> 3) & 3; // 3 = MPEG-1, 2 = MPEG-2, 0 = MPEG-2.5
    const int layer = (bytes[1] >> 1) & 3;   // 1 = layer III
    const int bitrateIndex = bytes[2] >> 4;
    const int rateIndex = (bytes[2] >> 2) & 3;
    if (version == 1 || layer != 1 || bitrateIndex == 15 || rateIndex == 3) {
        return header;
    }
    const bool mono = ((bytes[3] >> 6) & 3) == 3;
    if (version == 3) {
        header.sideInfoSize = mono ? 17 : 32;
        header.samplesPerFrame = 1152;
    } else {
        header.sideInfoSize = mono ? 9 : 17;
        header.samplesPerFrame = 576;
    }
    return header;
}

} // namespace

long long Mp3GaplessInfo::audioSamples() const {
    if (!valid) {
        return -1;
    }
    return frames * samplesPerFrame - encoderDelay - encoderPadding;
}

Mp3GaplessInfo Mp3GaplessInfo::parse(const QByteArray& bytes) {
    Mp3GaplessInfo info;
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    const int size = static_cast<int>(bytes.size());
    for (int start = 0; start + 4 <= size; ++start) {
        const FrameHeader header = layer3Header(data + start);
        if (header.sideInfoSize == 0) {
            continue;
        }
        int at = start + 4 + header.sideInfoSize;
        if (at + 8 > size) {
            return info;
        }
        const bool isXing = std::memcmp(data + at, "Xing", 4) == 0;
        const bool isInfo = std::memcmp(data + at, "Info", 4) == 0;
        if (!isXing && !isInfo) {
            return info; // the first frame is audio: no gapless information
        }
        const quint32 flags = bigEndian32(data + at + 4);
        at += 8;
        if (!(flags & 1) || at + 4 > size) {
            return info;
        }
        info.frames = bigEndian32(data + at);
        at += 4;
        at += (flags & 2) ? 4 : 0;   // byte count
        at += (flags & 4) ? 100 : 0; // seek table
        at += (flags & 8) ? 4 : 0;   // quality
        if (at + kLameTagOffset + 3 > size) {
            return info;
        }
        const QByteArray encoder = QByteArray::fromRawData(bytes.constData() + at, 4);
        if (encoder != "LAME" && encoder != "Lavf" && encoder != "Lavc") {
            return info;
        }
        const uchar* padding = data + at + kLameTagOffset;
        info.encoderDelay = (padding[0] << 4) | (padding[1] >> 4);
        info.encoderPadding = ((padding[1] & 0x0F) << 8) | padding[2];
        info.samplesPerFrame = header.samplesPerFrame;
        info.valid = info.frames > 0;
        return info;
    }
    return info;
}

Mp3GaplessInfo Mp3GaplessInfo::read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    // Skip every ID3v2 tag (some files carry more than one) without reading it.
    for (;;) {
        const qint64 tagStart = file.pos();
        const qint64 tagSize = id3TagSize(file.peek(kId3HeaderSize));
        if (tagSize == 0 || !file.seek(tagStart + tagSize)) {
            break;
        }
    }
    return parse(file.read(kFirstFrameWindow));
}

} // namespace media
