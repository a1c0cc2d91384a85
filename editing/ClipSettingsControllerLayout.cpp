// ClipSettingsController: the dialog's controls and their connections.

#include "editing/ClipSettingsController.h"

#include "editing/CSecondsFormatter.h"
#include "editing/ClipWaveformView.h"
#include "editing/FormatterLineEditAdaptor.h"
#include "editing/LevelSlider.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kTimeFieldWidth = 96;
constexpr int kLevelFieldWidth = 52;

QPushButton* smallButton(const QString& title, QWidget* parent) {
    auto* button = new QPushButton(title, parent);
    button->setAutoDefault(false);
    return button;
}

} // namespace

void ClipSettingsController::buildControls() {
    setWindowTitle(tr("Clip Settings"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildTransport());
    auto* columns = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    left->addWidget(buildPoints());
    left->addWidget(buildFades());
    columns->addLayout(left, 1);
    columns->addWidget(buildLevels(), 1);
    layout->addLayout(columns);
    layout->addWidget(buildButtons());
    connectActions();
}

QLineEdit* ClipSettingsController::makeTimeField(FormatterLineEditAdaptor** adaptor,
                                                 bool editable) {
    auto* field = new QLineEdit(this);
    field->setAlignment(Qt::AlignRight);
    field->setFixedWidth(kTimeFieldWidth);
    field->setReadOnly(!editable);
    if (!editable) {
        field->setFocusPolicy(Qt::NoFocus);
    }
    *adaptor = new FormatterLineEditAdaptor(field, std::make_unique<CSecondsFormatter>(), this);
    return field;
}

QWidget* ClipSettingsController::buildTransport() {
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    _movieView = new ClipWaveformView(box);
    layout->addWidget(_movieView);

    auto* bar = new QHBoxLayout;
    _playPauseButton = new QToolButton(box);
    _playPauseButton->setAccessibleName(tr("Play"));
    _playPauseButton->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    _playPauseButton->setToolTip(tr("Play or pause the file on the pre-listen output"));
    bar->addWidget(_playPauseButton);
    _currentPositionField = makeTimeField(&_currentPositionAdaptor, false);
    _currentPositionField->setAccessibleName(tr("Position"));
    bar->addWidget(_currentPositionField);
    bar->addStretch(1);
    bar->addWidget(new QLabel(tr("File:"), box));
    _fileDurationField = makeTimeField(&_fileDurationAdaptor, false);
    _fileDurationField->setAccessibleName(tr("File Duration"));
    bar->addWidget(_fileDurationField);
    bar->addWidget(new QLabel(tr("Clip:"), box));
    _clipDurationField = makeTimeField(&_clipDurationAdaptor, false);
    _clipDurationField->setAccessibleName(tr("Clip Duration"));
    bar->addWidget(_clipDurationField);
    layout->addLayout(bar);
    return box;
}

QWidget* ClipSettingsController::buildPoints() {
    auto* box = new QGroupBox(tr("In and Out Points"), this);
    auto* grid = new QGridLayout(box);
    _inPointDurationField = makeTimeField(&_inPointAdaptor, true);
    _inPointDurationField->setAccessibleName(tr("In Point"));
    _inPointDurationField->setToolTip(tr("Seconds from the start of the file"));
    _outPointDurationField = makeTimeField(&_outPointAdaptor, true);
    _outPointDurationField->setAccessibleName(tr("Out Point"));
    _outPointDurationField->setToolTip(tr("Seconds before the end of the file"));

    const auto addRow = [&](int row, const QString& label, QLineEdit* field, const QString& mark,
                            void (ClipSettingsController::*markAction)(),
                            void (ClipSettingsController::*clearAction)(),
                            void (ClipSettingsController::*gotoAction)()) {
        grid->addWidget(new QLabel(label, box), row, 0);
        grid->addWidget(field, row, 1);
        QPushButton* markButton = smallButton(mark, box);
        QPushButton* clearButton = smallButton(tr("Clear"), box);
        QPushButton* gotoButton = smallButton(tr("Go To"), box);
        grid->addWidget(markButton, row, 2);
        grid->addWidget(clearButton, row, 3);
        grid->addWidget(gotoButton, row, 4);
        connect(markButton, &QPushButton::clicked, this, markAction);
        connect(clearButton, &QPushButton::clicked, this, clearAction);
        connect(gotoButton, &QPushButton::clicked, this, gotoAction);
    };
    addRow(0, tr("In:"), _inPointDurationField, tr("Mark &In"), &ClipSettingsController::markIn,
           &ClipSettingsController::clearIn, &ClipSettingsController::gotoIn);
    addRow(1, tr("Out:"), _outPointDurationField, tr("Mark &Out"), &ClipSettingsController::markOut,
           &ClipSettingsController::clearOut, &ClipSettingsController::gotoOut);
    grid->setColumnStretch(5, 1);
    return box;
}

QWidget* ClipSettingsController::buildFades() {
    auto* box = new QGroupBox(tr("Fades"), this);
    auto* form = new QFormLayout(box);
    _useDefaultValuesCheckBox = new QCheckBox(tr("Use Default Settings"), box);
    form->addRow(_useDefaultValuesCheckBox);
    _fadeInDurationField = makeTimeField(&_fadeInAdaptor, true);
    _fadeInDurationField->setAccessibleName(tr("Fade-In Duration"));
    form->addRow(tr("Fade in:"), _fadeInDurationField);
    _fadeOutDurationField = makeTimeField(&_fadeOutAdaptor, true);
    _fadeOutDurationField->setAccessibleName(tr("Fade-Out Duration"));
    form->addRow(tr("Fade out:"), _fadeOutDurationField);
    // In the order of the "FadeOut Mode" values 0, 1, 2.
    _fadeOutPopUpButton = new QComboBox(box);
    _fadeOutPopUpButton->addItem(tr("Fade out when 2 s or more remain"));
    _fadeOutPopUpButton->addItem(tr("Always fade out"));
    _fadeOutPopUpButton->addItem(tr("Never fade out"));
    _fadeOutPopUpButton->setAccessibleName(tr("Fade-Out Mode"));
    form->addRow(tr("On a fade request:"), _fadeOutPopUpButton);
    return box;
}

QWidget* ClipSettingsController::buildLevels() {
    auto* box = new QGroupBox(tr("Level and Output"), this);
    auto* grid = new QGridLayout(box);
    const auto addLevel = [&](int row, const QString& label, LevelSlider** slider,
                              QLineEdit** field) {
        *slider = new LevelSlider(box);
        *field = new QLineEdit(box);
        (*field)->setAlignment(Qt::AlignRight);
        (*field)->setFixedWidth(kLevelFieldWidth);
        (*slider)->setAccessibleName(label);
        (*field)->setAccessibleName(label + tr(" (dB)"));
        grid->addWidget(new QLabel(label, box), row, 0);
        grid->addWidget(*slider, row, 1);
        grid->addWidget(*field, row, 2);
        grid->addWidget(new QLabel(tr("dB"), box), row, 3);
    };
    addLevel(0, tr("Volume:"), &_volumeSlider, &_volumeField);
    addLevel(1, tr("Ducking:"), &_duckingVolumeSlider, &_duckingVolumeField);
    _loopCheckBox = new QCheckBox(tr("Loop"), box);
    grid->addWidget(_loopCheckBox, 2, 1);
    _outputPopUpButton = new QComboBox(box);
    _outputPopUpButton->setAccessibleName(tr("Output"));
    grid->addWidget(new QLabel(tr("Output:"), box), 3, 0);
    grid->addWidget(_outputPopUpButton, 3, 1, 1, 3);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(4, 1);
    return box;
}

QWidget* ClipSettingsController::buildButtons() {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    _clearButton = smallButton(tr("Clear"), row);
    _clearButton->setToolTip(tr("Close without changing the clip"));
    _cancelButton = smallButton(tr("Cancel"), row);
    _okButton = new QPushButton(tr("OK"), row);
    _okButton->setDefault(true);
    layout->addWidget(_clearButton);
    layout->addStretch(1);
    layout->addWidget(_cancelButton);
    layout->addWidget(_okButton);
    return row;
}

void ClipSettingsController::connectActions() {
    connect(_okButton, &QPushButton::clicked, this, &ClipSettingsController::okButtonClicked);
    connect(_cancelButton, &QPushButton::clicked, this,
            &ClipSettingsController::cancelButtonClicked);
    connect(_clearButton, &QPushButton::clicked, this,
            &ClipSettingsController::clearClipButtonClicked);
    connect(_playPauseButton, &QToolButton::clicked, this,
            &ClipSettingsController::playPauseButtonClicked);
    connect(_movieView, &ClipWaveformView::positionRequested, this,
            &ClipSettingsController::setPreviewPosition);
    connect(_volumeSlider, &LevelSlider::levelMoved, this,
            &ClipSettingsController::volumeSliderChanged);
    connect(_duckingVolumeSlider, &LevelSlider::levelMoved, this,
            &ClipSettingsController::duckingVolumeSliderChanged);
    connect(_volumeField, &QLineEdit::editingFinished, this,
            &ClipSettingsController::volumeFieldChanged);
    connect(_duckingVolumeField, &QLineEdit::editingFinished, this,
            &ClipSettingsController::duckingVolumeFieldChanged);
    connect(_fadeOutPopUpButton, &QComboBox::activated, this,
            &ClipSettingsController::fadeOutPopUpButtonChanged);
    connect(_useDefaultValuesCheckBox, &QCheckBox::clicked, this,
            &ClipSettingsController::useDefaultCheckBoxChanged);
    connect(_outputPopUpButton, &QComboBox::activated, this,
            &ClipSettingsController::outputPopUpButtonChanged);
    connect(_inPointAdaptor, &FormatterLineEditAdaptor::valueChanged, this,
            &ClipSettingsController::inPointDurationFieldChanged);
    connect(_outPointAdaptor, &FormatterLineEditAdaptor::valueChanged, this,
            &ClipSettingsController::outPointDurationFieldChanged);
}
