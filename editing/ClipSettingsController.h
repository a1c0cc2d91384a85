#pragma once

// The clip settings editor: a modal dialog in which the operator edits one clip's
// settings record while hearing and seeing its file. It shows the in and out points, the
// fade-in and fade-out durations and the fade-out mode, loop, volume and ducking volume
// (slider and whole-decibel field each), the output, and "Use Default Settings". A
// transport bar plays the file on the pre-listen output (output 8) through a preview
// clip: a play/pause button, the waveform as a position bar to click or drag, and the
// playhead time, refreshed every 0.05 s. The in and out points are marked from the
// playhead, cleared, and jumped to.
//
// OK writes the controls into the record the editor was given (the caller's object,
// changed in place); Cancel and Clear leave it as it was, except for an output chosen in
// the pop-up, which is written at once. Out points are distances from the end of the
// file (0 plays to the end). Nothing checks the points against each other or the file:
// an in point beyond the out point is stored as typed and shows a negative clip length.
//
// Thread contract: main thread only. The waveform is read on a worker thread
// (WaveformPeakReader).

#include "clip/ClipObserver.h"
#include "clip/ClipSettingsEditing.h"
#include "clip/ClipSettingsHolder.h"

#include <QDialog>
#include <QUrl>
#include <QVariantMap>
#include <functional>
#include <memory>

class ClipWaveformView;
class FormatterLineEditAdaptor;
class LevelSlider;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTimer;
class QToolButton;
class SoundClip;
class WaveformPeakReader;

class ClipSettingsController : public QDialog,
                               public ClipSettingsHolder,
                               public ClipSettingsEditing,
                               public ClipObserver {
    Q_OBJECT
public:
    // Fills a pop-up with the configured program outputs, each carrying its output number
    // as item data, and selects `selectedOutput` (OutputSettingsCell's loader; passed in
    // because that lives in the outputs layer, above this one).
    using OutputPopUpLoader = std::function<void(QComboBox* popUp, int selectedOutput)>;

    static constexpr int kPositionTimerMilliseconds = 50;
    // The pre-listen output, where the preview plays.
    static constexpr int kPreviewOutputIndex = 8;
    // "FadeOut Mode" item that never fades on request; it disables the fade-out field.
    static constexpr int kNeverFadeMode = 2;

    explicit ClipSettingsController(OutputPopUpLoader loadOutputs, QWidget* parent = nullptr);
    ~ClipSettingsController() override;

    // Runs the editor modally (see editSettings); on OK *oldSettings receives the record
    // as it was when the edit began.
    bool editClipSettings(const QUrl& url, const std::shared_ptr<QVariantMap>& settings,
                          QVariantMap* oldSettings) override;
    // Edits `settings` for the file `url` (may be empty: no preview) in a modal run and
    // answers whether the operator pressed OK; only then is `settings` changed.
    bool editSettings(const QUrl& url, const std::shared_ptr<QVariantMap>& settings);

    // The two halves of editSettings around its modal run, for callers that drive the
    // dialog from their own event loop.
    void beginEditing(const QUrl& url, const std::shared_ptr<QVariantMap>& settings);
    bool endEditing();

    QVariantMap oldSettings() const { return _oldSettingsDict; }
    void setOldSettings(const QVariantMap& settings) { _oldSettingsDict = settings; }
    bool confirmed() const { return _result; }
    // Whether the transport shows the preview as playing (the button offers pause).
    bool showsPlaying() const { return _showsPlaying; }
    // The clip previewing the file while an edit runs; null without a playable file.
    SoundClip* previewClip() const { return _previewClip.get(); }

    // Record to controls, controls to record, and the file and clip length fields.
    void updateDisplay();
    void updateSettings();
    void updateDuration();

    // ---- Actions ----
    void okButtonClicked();
    void cancelButtonClicked();
    // Leaves the record alone, like Cancel: the caller, not the editor, clears a clip.
    void clearClipButtonClicked();
    void markIn();
    void markOut();
    void clearIn();
    void clearOut();
    void gotoIn();
    void gotoOut();
    void volumeSliderChanged();
    void volumeFieldChanged();
    void duckingVolumeSliderChanged();
    void duckingVolumeFieldChanged();
    void fadeOutPopUpButtonChanged();
    void useDefaultCheckBoxChanged();
    void outputPopUpButtonChanged();
    void inPointDurationFieldChanged();
    void outPointDurationFieldChanged();
    // Plays the preview from the playhead, or pauses it.
    void playPauseButtonClicked();
    // Moves the playhead (the position bar asks for it).
    void setPreviewPosition(double seconds);
    // Refills the output pop-up with the configured outputs, selecting the record's.
    void windowDidBecomeKey();
    // The 0.05 s tick: the playhead follows the preview.
    void updateCurrentPositionTimer();

    // The time of the preview's playhead; 0 without a preview.
    double currentPosition() const;
    // The whole file's length as the preview knows it; 0 without a preview.
    double fileDuration() const;

    // ---- Controls, by their role ----
    QLineEdit* fadeInDurationField() const { return _fadeInDurationField; }
    QLineEdit* fadeOutDurationField() const { return _fadeOutDurationField; }
    QComboBox* fadeOutPopUpButton() const { return _fadeOutPopUpButton; }
    QCheckBox* useDefaultValuesCheckBox() const { return _useDefaultValuesCheckBox; }
    QLineEdit* volumeField() const { return _volumeField; }
    QLineEdit* duckingVolumeField() const { return _duckingVolumeField; }
    QLineEdit* inPointDurationField() const { return _inPointDurationField; }
    QLineEdit* outPointDurationField() const { return _outPointDurationField; }
    LevelSlider* volumeSlider() const { return _volumeSlider; }
    LevelSlider* duckingVolumeSlider() const { return _duckingVolumeSlider; }
    QCheckBox* loopCheckBox() const { return _loopCheckBox; }
    ClipWaveformView* movieView() const { return _movieView; }
    QToolButton* playPauseButton() const { return _playPauseButton; }
    QLineEdit* currentPositionField() const { return _currentPositionField; }
    QComboBox* outputPopUpButton() const { return _outputPopUpButton; }
    QLineEdit* fileDurationField() const { return _fileDurationField; }
    QLineEdit* clipDurationField() const { return _clipDurationField; }
    QPushButton* okButton() const { return _okButton; }
    QPushButton* cancelButton() const { return _cancelButton; }
    QPushButton* clearButton() const { return _clearButton; }

public slots:
    void reject() override;

protected:
    bool event(QEvent* event) override;

private:
    // ClipSettingsControllerLayout.cpp
    void buildControls();
    QWidget* buildTransport();
    QWidget* buildPoints();
    QWidget* buildFades();
    QWidget* buildLevels();
    QWidget* buildButtons();
    QLineEdit* makeTimeField(FormatterLineEditAdaptor** adaptor, bool editable);
    void connectActions();

    void startPreview(const QUrl& url);
    void stopPreview();
    void showLevel(QLineEdit* field, const LevelSlider* slider);
    void readLevelField(QLineEdit* field, LevelSlider* slider);
    double fieldSeconds(const FormatterLineEditAdaptor* adaptor) const;
    void setFieldSeconds(FormatterLineEditAdaptor* adaptor, double seconds);
    void finish(bool result);
    void showPlaying(bool playing);

    OutputPopUpLoader _loadOutputs;

    QLineEdit* _fadeInDurationField = nullptr;
    QLineEdit* _fadeOutDurationField = nullptr;
    QComboBox* _fadeOutPopUpButton = nullptr;
    QCheckBox* _useDefaultValuesCheckBox = nullptr;
    QLineEdit* _volumeField = nullptr;
    QLineEdit* _duckingVolumeField = nullptr;
    QLineEdit* _inPointDurationField = nullptr;
    QLineEdit* _outPointDurationField = nullptr;
    LevelSlider* _volumeSlider = nullptr;
    LevelSlider* _duckingVolumeSlider = nullptr;
    QCheckBox* _loopCheckBox = nullptr;
    ClipWaveformView* _movieView = nullptr;
    QToolButton* _playPauseButton = nullptr;
    QLineEdit* _currentPositionField = nullptr;
    QComboBox* _outputPopUpButton = nullptr;
    QLineEdit* _fileDurationField = nullptr;
    QLineEdit* _clipDurationField = nullptr;
    QPushButton* _okButton = nullptr;
    QPushButton* _cancelButton = nullptr;
    QPushButton* _clearButton = nullptr;

    FormatterLineEditAdaptor* _fadeInAdaptor = nullptr;
    FormatterLineEditAdaptor* _fadeOutAdaptor = nullptr;
    FormatterLineEditAdaptor* _inPointAdaptor = nullptr;
    FormatterLineEditAdaptor* _outPointAdaptor = nullptr;
    FormatterLineEditAdaptor* _currentPositionAdaptor = nullptr;
    FormatterLineEditAdaptor* _fileDurationAdaptor = nullptr;
    FormatterLineEditAdaptor* _clipDurationAdaptor = nullptr;

    QVariantMap _oldSettingsDict;
    bool _result = false;
    bool _showsPlaying = false;
    std::unique_ptr<SoundClip> _previewClip;
    WaveformPeakReader* _peakReader = nullptr;
    QTimer* _updateCurrentPositionTimer = nullptr;
};
