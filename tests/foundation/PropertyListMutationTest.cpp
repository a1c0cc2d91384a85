// Randomised robustness of the property-list reader: valid XML and binary files are
// bit-flipped, truncated, spliced into each other and have pieces cut out or repeated.
// Whatever comes out, the reader either refuses it with a one-line message or returns a
// value that writes and reads back unchanged. A fixed seed keeps every run the same.

#include "foundation/PropertyList.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <random>

namespace {

QList<QByteArray> seedFiles() {
    const QVariantMap settings{
        {"Use Default Settings", true},
        {"FadeOut Mode", 0},
        {"In Point", 0.0},
        {"FadeOut Duration", 2.0},
        {"Volume", 1.0},
        {"MIDI Note", 60},
        {"Output Index", 3},
        {"Big", QVariant::fromValue<qlonglong>(1LL << 40)},
        {"Path", QString::fromUtf8("/home/jingles/Grüße & <jingle>.mp3")},
        {"Alias", QByteArray::fromHex("00010203fffefd")},
        {"Saved", QDateTime(QDate(2023, 1, 2), QTime(3, 4, 5), QTimeZone::utc())},
    };
    const QVariantMap document{{"Document Settings", QVariantMap{{"Cue Mode", false}}},
                               {"Settings 0", settings},
                               {"Paths", QVariantList{"a", "b", QVariantList{1, 2.5, true}}}};
    QList<QByteArray> seeds;
    for (const QVariant& value :
         {QVariant(document), QVariant(settings), QVariant(QVariantList{})}) {
        seeds.append(PropertyList::toXml(value));
        seeds.append(PropertyList::toBinary(value));
    }
    return seeds;
}

class Mutator {
public:
    explicit Mutator(QList<QByteArray> seeds)
        : _seeds(std::move(seeds)) {}

    QByteArray next() {
        QByteArray data = pickSeed();
        const int rounds = 1 + int(below(3));
        for (int i = 0; i < rounds && !data.isEmpty(); ++i) {
            data = mutate(data);
        }
        return data;
    }

private:
    QByteArray mutate(QByteArray data) {
        const qsizetype at = qsizetype(below(quint64(data.size())));
        switch (below(7)) {
        case 0: // flip a bit
            data[at] = char(data[at] ^ (1 << below(8)));
            return data;
        case 1: { // an interesting byte
            static const char kBytes[] = {'\0', '\xff', '<', '>', '/', '0', '9', '-', '\x7f', 'x'};
            data[at] = kBytes[below(sizeof kBytes)];
            return data;
        }
        case 2: // truncate
            return data.left(at);
        case 3: { // splice with the tail of another seed
            const QByteArray other = pickSeed();
            return data.left(at) + other.mid(qsizetype(below(quint64(other.size()))));
        }
        case 4: // cut a piece out
            return data.left(at) + data.mid(at + 1 + qsizetype(below(16)));
        case 5: // repeat a piece
            return data.left(at) + data.mid(at, 1 + qsizetype(below(32))) + data.mid(at);
        default: { // overwrite with a piece of another seed
            const QByteArray other = pickSeed();
            const QByteArray piece = other.mid(qsizetype(below(quint64(other.size()))), 8);
            return data.left(at) + piece + data.mid(at + piece.size());
        }
        }
    }

    const QByteArray& pickSeed() { return _seeds.at(qsizetype(below(quint64(_seeds.size())))); }
    quint64 below(quint64 bound) {
        return bound == 0 ? 0 : std::uniform_int_distribution<quint64>(0, bound - 1)(_random);
    }

    QList<QByteArray> _seeds;
    std::mt19937_64 _random{20240506};
};

TEST(PropertyListMutation, ReaderRefusesOrRoundTripsEveryMutant) {
    const QList<QByteArray> seeds = seedFiles();
    for (const QByteArray& seed : seeds) {
        ASSERT_TRUE(PropertyList::fromData(seed).isValid());
    }
    Mutator mutator(seeds);
    constexpr int kIterations = 4000;
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < kIterations; ++i) {
        const QByteArray input = mutator.next();
        QString error;
        const QVariant value = PropertyList::fromData(input, &error);
        if (!value.isValid()) {
            ++refused;
            ASSERT_FALSE(error.isEmpty()) << "iteration " << i;
            ASSERT_FALSE(error.contains(u'\n')) << "iteration " << i << ": " << error.toStdString();
            continue;
        }
        ++accepted;
        ASSERT_TRUE(error.isEmpty());
        // A value that was read can be written (unless it holds text XML cannot carry,
        // which a binary file may), and then reads back as exactly the same.
        const QByteArray xml = PropertyList::toXml(value, &error);
        if (xml.isEmpty()) {
            ASSERT_TRUE(error.contains("XML cannot carry")) << error.toStdString();
            continue;
        }
        const QVariant again = PropertyList::fromData(xml, &error);
        ASSERT_TRUE(again.isValid()) << "iteration " << i << ": " << error.toStdString();
        ASSERT_EQ(PropertyList::toXml(again), xml) << "iteration " << i;
    }
    // Both paths must have been exercised for the test to mean anything.
    EXPECT_GT(accepted, kIterations / 50);
    EXPECT_GT(refused, kIterations / 2);
}

} // namespace
