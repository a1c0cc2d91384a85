#pragma once

// The block that configures one of the nine outputs in the preferences window: the
// output's audio device, its left and right device channels, its name and its colour,
// in a titled box. It works on a copy of the output settings record "Output Settings %i"
// and writes the whole record back to the user defaults after every edit: there is no
// apply or cancel step. Clips pick a change up on their next start.
//
// The class also fills the pop-ups and menus that list devices, channels and outputs
// elsewhere (OutputSettingsCellPopUps.cpp).
//
// Main thread only.

#include <QString>
#include <QVariantMap>
#include <QWidget>
#include <functional>

class CColorWell;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QMenu;

class OutputSettingsCell : public QWidget {
    Q_OBJECT
public:
    // The block of output `index` (0..8), loaded from the user defaults at once.
    explicit OutputSettingsCell(int index, QWidget* parent = nullptr);
    ~OutputSettingsCell() override;

    int index() const { return _index; }

    // Reads the output's record into the controls. Without a record the controls are left
    // as they are and the block saves nothing.
    void loadSettings();
    // Writes the working copy to the user defaults under "Output Settings %i".
    void saveSettings();
    // The working copy of the record.
    QVariantMap settingsDictionary() const { return _settingsDictionary; }

    // The operator's edits; each stores its key and saves at once.
    void devicePopUpButtonChanged();
    void labelColorChanged();
    void outputNameChanged();
    void leftOutputChannelChanged();
    void rightOutputChannelChanged();

    // Lists the channels of the device chosen in the device pop-up in both channel
    // pop-ups, selecting the record's tags (first and second channel when absent).
    void updateOutputsForDevice();

    // The box's title: "Output %i" with the output number, until the window sets another.
    void setBoxTitle(const QString& title);
    QString outputCellName() const;

    QComboBox* devicePopUpButton() const { return _devicePopUpButton; }
    CColorWell* labelColorWell() const { return _labelColorWell; }
    QComboBox* leftOutputChannelPopUpButton() const { return _leftOutputChannelPopUpButton; }
    QLineEdit* outputNameTextField() const { return _outputNameTextField; }
    QComboBox* rightOutputChannelPopUpButton() const { return _rightOutputChannelPopUpButton; }
    QGroupBox* box() const { return _box; }

    // ---- Pop-ups and menus of devices, channels and outputs ----

    // Every audio device ("Built-in Output" first), the one named `currentComponentName`
    // selected; when no device has that name the pop-up shows "Built-in Output" (and says
    // in its tool tip that the named device is not connected).
    static void fillComponentsPopUpButton(QComboBox* popUp, const QString& currentComponentName);
    // "Output 1".."Output N" for the N channels of the named device, each carrying its tag
    // 0x10000 + n as item data; selects the item tagged `currentChannelTag` and returns its
    // index (0 when no item has the tag).
    static int fillChannelsPopUpButton(QComboBox* popUp, quint32 currentChannelTag,
                                       const QString& deviceName);
    // Outputs 0..7 (never the pre-listen output) whose record exists, titled by their
    // name ("Undefined output" without one) drawn in the output's colour, each carrying its
    // output number as item data; selects output `selectedOutput` when it is listed.
    static void loadPopUpButtonWithOutputs(QComboBox* popUp, int selectedOutput);
    // Adds one item per output 0..7 whose record has a name: the name drawn in the
    // output's colour, the output number as the action's data, triggering
    // `action(output number)` while `target` lives. The menu is not emptied first.
    static void loadMenuWithOutputs(QMenu* menu, const QObject* target,
                                    const std::function<void(int output)>& action);

    // The record of output `index` in the user defaults (empty when there is none).
    static QVariantMap outputRecord(int index);

private:
    void buildControls();
    void refreshDevices();
    void storeChannelTag(QComboBox* popUp, const QString& key);

    QComboBox* _devicePopUpButton = nullptr;
    CColorWell* _labelColorWell = nullptr;
    QComboBox* _leftOutputChannelPopUpButton = nullptr;
    QLineEdit* _outputNameTextField = nullptr;
    QComboBox* _rightOutputChannelPopUpButton = nullptr;
    QGroupBox* _box = nullptr;
    QVariantMap _settingsDictionary;
    int _index = 0;
    // A record was loaded; without one the block never writes.
    bool _loaded = false;
};
