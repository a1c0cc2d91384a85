#include "tests/editing/EditorTestSupport.h"

#include "clip/ClipSettings.h"
#include "editing/ClipSettingsController.h"
#include "media/AudioFileWriter.h"
#include "outputs/OutputSettingsCell.h"

#include <QFile>
#include <QLineEdit>
#include <QTest>
#include <cmath>
#include <numbers>
#include <vector>

ClipEditorTest::ClipEditorTest() = default;
ClipEditorTest::~ClipEditorTest() = default;

void ClipEditorTest::SetUp() {
    OutputsFixture::SetUp();
    ASSERT_TRUE(_files.isValid());
    _editor =
        std::make_unique<ClipSettingsController>(&OutputSettingsCell::loadPopUpButtonWithOutputs);
}

void ClipEditorTest::TearDown() {
    _editor.reset();
    OutputsFixture::TearDown();
}

double ClipEditorTest::envelopePeak(double seconds, double length) {
    const double half = length / 2.0;
    return 0.9 * (seconds < half ? seconds / half : (length - seconds) / half);
}

QString ClipEditorTest::envelopeFile(const QString& name, double seconds) {
    constexpr int kRate = 44100;
    const QString path = _files.filePath(name);
    media::AudioFileWriter writer;
    media::AudioFileWriter::Options options;
    options.sampleRate = kRate;
    options.channels = 2;
    QString error;
    if (!writer.open(path, options, &error)) {
        ADD_FAILURE() << qPrintable(error);
        return {};
    }
    const auto frames = static_cast<long long>(std::llround(seconds * kRate));
    std::vector<float> block;
    constexpr long long kBlock = 8192;
    for (long long start = 0; start < frames; start += kBlock) {
        const long long count = std::min(kBlock, frames - start);
        block.resize(size_t(count) * 2);
        for (long long frame = 0; frame < count; ++frame) {
            const double time = double(start + frame) / kRate;
            const auto sample = float(envelopePeak(time, seconds) *
                                      std::sin(2.0 * std::numbers::pi * 220.0 * time));
            block[size_t(frame) * 2] = sample;
            block[size_t(frame) * 2 + 1] = sample;
        }
        if (!writer.write(block.data(), int(count), &error)) {
            ADD_FAILURE() << qPrintable(error);
            return {};
        }
    }
    if (!writer.finish(&error)) {
        ADD_FAILURE() << qPrintable(error);
        return {};
    }
    return path;
}

QString ClipEditorTest::brokenFile() {
    const QString path = _files.filePath(QStringLiteral("broken.wav"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        ADD_FAILURE() << "cannot write the broken file";
        return {};
    }
    file.write(QByteArray("RIFF....WAVEfmt this is not audio at all", 41).repeated(64));
    return path;
}

std::shared_ptr<QVariantMap> ClipEditorTest::record(const QVariantMap& overrides) {
    auto settings = std::make_shared<QVariantMap>(defaultClipSettings());
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        settings->insert(it.key(), it.value());
    }
    return settings;
}

void ClipEditorTest::typeInto(QLineEdit* field, const QString& text) {
    field->selectAll();
    field->del();
    QTest::keyClicks(field, text);
    emit field->editingFinished();
}
