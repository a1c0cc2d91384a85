#pragma once

// The clip settings editor's tests: the output records and the offline audio engine of
// OutputsFixture, a folder of generated audio files, an editor wired to the outputs
// layer's pop-up loader, and typing helpers.

#include "tests/outputs/OutputsTestSupport.h"

#include <QTemporaryDir>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class ClipSettingsController;
class QLineEdit;

class ClipEditorTest : public OutputsFixture {
protected:
    ClipEditorTest();
    ~ClipEditorTest() override;

    void SetUp() override;
    void TearDown() override;

    // A 16-bit stereo WAV at 44.1 kHz of `seconds`: a 220 Hz tone whose peak rises
    // linearly from 0 to 0.9 over the first half and falls back over the second, so
    // its outline is a diamond.
    QString envelopeFile(const QString& name, double seconds);
    static double envelopePeak(double seconds, double length);
    QString brokenFile();

    // A full default clip record with `overrides`.
    static std::shared_ptr<QVariantMap> record(const QVariantMap& overrides = {});

    // Replaces a field's text by typing and finishes the edit as leaving the field does.
    static void typeInto(QLineEdit* field, const QString& text);

    ClipSettingsController& editor() { return *_editor; }

private:
    QTemporaryDir _files;
    std::unique_ptr<ClipSettingsController> _editor;
};
