#include "outputs/OutputSettingsCell.h"

#include "clip/OutputSettings.h"
#include "clip/ValueConversion.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "outputs/CColorWell.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace {

quint32 channelTag(const QVariantMap& record, const QString& key, quint32 fallback) {
    return record.contains(key) ? quint32(intFromValue(record.value(key))) : fallback;
}

} // namespace

OutputSettingsCell::OutputSettingsCell(int index, QWidget* parent)
    : QWidget(parent)
    , _index(index) {
    buildControls();
    loadSettings();
    if (media::AudioEngine* engine = media::AudioEngine::instance()) {
        // A device plugged in or pulled shows in the lists at once.
        connect(engine, &media::AudioEngine::devicesChanged, this,
                &OutputSettingsCell::refreshDevices);
    }
}

OutputSettingsCell::~OutputSettingsCell() = default;

void OutputSettingsCell::buildControls() {
    _box = new QGroupBox(QStringLiteral("Output %1").arg(_index + 1), this);
    _outputNameTextField = new QLineEdit(_box);
    _outputNameTextField->setAccessibleName(tr("Output Name"));
    _labelColorWell = new CColorWell(_box);
    _devicePopUpButton = new QComboBox(_box);
    _devicePopUpButton->setAccessibleName(tr("Device"));
    _devicePopUpButton->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    _leftOutputChannelPopUpButton = new QComboBox(_box);
    _leftOutputChannelPopUpButton->setAccessibleName(tr("Left Channel"));
    _rightOutputChannelPopUpButton = new QComboBox(_box);
    _rightOutputChannelPopUpButton->setAccessibleName(tr("Right Channel"));

    auto* grid = new QGridLayout(_box);
    grid->addWidget(new QLabel(tr("Name:"), _box), 0, 0, Qt::AlignRight);
    grid->addWidget(_outputNameTextField, 0, 1);
    grid->addWidget(new QLabel(tr("Color:"), _box), 0, 2, Qt::AlignRight);
    grid->addWidget(_labelColorWell, 0, 3, 1, 3, Qt::AlignLeft);
    grid->addWidget(new QLabel(tr("Device:"), _box), 1, 0, Qt::AlignRight);
    grid->addWidget(_devicePopUpButton, 1, 1);
    grid->addWidget(new QLabel(tr("Left:"), _box), 1, 2, Qt::AlignRight);
    grid->addWidget(_leftOutputChannelPopUpButton, 1, 3);
    grid->addWidget(new QLabel(tr("Right:"), _box), 1, 4, Qt::AlignRight);
    grid->addWidget(_rightOutputChannelPopUpButton, 1, 5);
    grid->setColumnStretch(1, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 2, 4, 2);
    layout->addWidget(_box);

    // Only the operator's choices count as edits (activated, not currentIndexChanged),
    // so filling a pop-up never writes the record.
    connect(_devicePopUpButton, &QComboBox::activated, this,
            &OutputSettingsCell::devicePopUpButtonChanged);
    connect(_leftOutputChannelPopUpButton, &QComboBox::activated, this,
            &OutputSettingsCell::leftOutputChannelChanged);
    connect(_rightOutputChannelPopUpButton, &QComboBox::activated, this,
            &OutputSettingsCell::rightOutputChannelChanged);
    connect(_outputNameTextField, &QLineEdit::editingFinished, this, [this] {
        if (_outputNameTextField->isModified()) {
            outputNameChanged();
        }
    });
    connect(_labelColorWell, &CColorWell::colorChosen, this,
            &OutputSettingsCell::labelColorChanged);
}

QVariantMap OutputSettingsCell::outputRecord(int index) {
    const UserDefaults* defaults = UserDefaults::standard();
    return defaults ? defaults->dictionaryForKey(outputSettingsKey(index)) : QVariantMap();
}

void OutputSettingsCell::loadSettings() {
    const QVariantMap record = outputRecord(_index);
    _loaded = !record.isEmpty();
    _box->setEnabled(_loaded);
    if (!_loaded) {
        qCInfo(lcOutputs).noquote()
            << QStringLiteral("Default Values: output %1 has no settings yet").arg(_index + 1);
        return;
    }
    _settingsDictionary = record;
    fillComponentsPopUpButton(_devicePopUpButton,
                              stringFromValue(_settingsDictionary.value(QorvinPrefDeviceName)));
    if (_settingsDictionary.contains(QorvinPrefOutputColor)) {
        _labelColorWell->setColor(outputColor(_settingsDictionary));
    }
    updateOutputsForDevice();
    if (_settingsDictionary.contains(QorvinPrefOutputName)) {
        _outputNameTextField->setText(
            stringFromValue(_settingsDictionary.value(QorvinPrefOutputName)));
        _outputNameTextField->setModified(false);
    }
}

void OutputSettingsCell::saveSettings() {
    UserDefaults* defaults = UserDefaults::standard();
    if (!_loaded || !defaults) {
        return;
    }
    defaults->setObject(_settingsDictionary, outputSettingsKey(_index));
}

void OutputSettingsCell::devicePopUpButtonChanged() {
    _settingsDictionary.insert(QorvinPrefDeviceName, _devicePopUpButton->currentText());
    _devicePopUpButton->setToolTip(QString());
    updateOutputsForDevice();
    saveSettings();
}

void OutputSettingsCell::labelColorChanged() {
    _settingsDictionary.insert(QorvinPrefOutputColor, archiveColor(_labelColorWell->color()));
    saveSettings();
}

void OutputSettingsCell::outputNameChanged() {
    const QString name = _outputNameTextField->text();
    _settingsDictionary.insert(QorvinPrefOutputName, name);
    _outputNameTextField->setModified(false);
    qCInfo(lcOutputs).noquote() << QStringLiteral("Setting output to: %1").arg(name);
    saveSettings();
}

void OutputSettingsCell::leftOutputChannelChanged() {
    storeChannelTag(_leftOutputChannelPopUpButton, QorvinPrefLeftChannelOutputTag);
}

void OutputSettingsCell::rightOutputChannelChanged() {
    storeChannelTag(_rightOutputChannelPopUpButton, QorvinPrefRightChannelOutputTag);
}

void OutputSettingsCell::storeChannelTag(QComboBox* popUp, const QString& key) {
    const QVariant tag = popUp->currentData();
    if (!tag.isValid()) {
        return;
    }
    _settingsDictionary.insert(key, tag.toInt());
    saveSettings();
}

void OutputSettingsCell::updateOutputsForDevice() {
    const quint32 left =
        channelTag(_settingsDictionary, QorvinPrefLeftChannelOutputTag, firstChannelOutputTag);
    const quint32 right =
        channelTag(_settingsDictionary, QorvinPrefRightChannelOutputTag, firstChannelOutputTag + 1);
    const QString device = _devicePopUpButton->currentText();
    fillChannelsPopUpButton(_leftOutputChannelPopUpButton, left, device);
    fillChannelsPopUpButton(_rightOutputChannelPopUpButton, right, device);
}

void OutputSettingsCell::refreshDevices() {
    if (!_loaded) {
        return;
    }
    fillComponentsPopUpButton(_devicePopUpButton,
                              stringFromValue(_settingsDictionary.value(QorvinPrefDeviceName)));
    updateOutputsForDevice();
}

void OutputSettingsCell::setBoxTitle(const QString& title) {
    _box->setTitle(title);
}

QString OutputSettingsCell::outputCellName() const {
    return _box->title();
}
