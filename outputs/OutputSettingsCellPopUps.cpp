// OutputSettingsCell: the pop-ups and menus that list devices, device channels and the
// configured outputs, for the output blocks, the clip settings editor and the document
// windows' output menus.

#include "outputs/OutputSettingsCell.h"

#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "clip/ValueConversion.h"
#include "outputs/LegibleTextColor.h"
#include "outputs/OutputMenuStyle.h"

#include <QAbstractItemView>
#include <QAction>
#include <QComboBox>
#include <QMenu>

namespace {

constexpr int kProgramOutputCount = preListenOutputIndex;

// The output's name, or none when the record has no usable one (an empty name is as
// good as none: it could not be seen or chosen).
QString outputName(const QVariantMap& record) {
    return stringFromValue(record.value(QorvinPrefOutputName)).trimmed().isEmpty()
               ? QString()
               : stringFromValue(record.value(QorvinPrefOutputName));
}

// A menu title shows a single '&' only when it is doubled (one alone marks a shortcut).
QString menuTitle(const QString& name) {
    QString title = name;
    return title.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void fillPopUp(QComboBox* popUp, const SoundClip::PopUpChoices& choices) {
    popUp->clear();
    for (const SoundClip::PopUpItem& item : choices.items) {
        popUp->addItem(item.title, item.tag);
    }
    popUp->setCurrentIndex(choices.selectedIndex);
}

} // namespace

void OutputSettingsCell::fillComponentsPopUpButton(QComboBox* popUp,
                                                   const QString& currentComponentName) {
    const SoundClip::PopUpChoices choices = SoundClip::componentsPopUpChoices(currentComponentName);
    fillPopUp(popUp, choices);
    if (choices.selectedIndex >= 0) {
        popUp->setToolTip(QString());
        return;
    }
    popUp->setCurrentIndex(popUp->findText(choices.title));
    if (!currentComponentName.isEmpty()) {
        popUp->setToolTip(tr("\"%1\" is not connected.").arg(currentComponentName));
    }
}

int OutputSettingsCell::fillChannelsPopUpButton(QComboBox* popUp, quint32 currentChannelTag,
                                                const QString& deviceName) {
    const SoundClip::PopUpChoices choices =
        SoundClip::channelsPopUpChoices(currentChannelTag, deviceName);
    fillPopUp(popUp, choices);
    return choices.selectedIndex;
}

void OutputSettingsCell::loadPopUpButtonWithOutputs(QComboBox* popUp, int selectedOutput) {
    popUp->clear();
    const QColor background = popUp->view()->palette().color(QPalette::Base);
    for (int output = 0; output < kProgramOutputCount; ++output) {
        const QVariantMap record = outputRecord(output);
        if (record.isEmpty()) {
            continue;
        }
        const QString name = outputName(record);
        popUp->addItem(name.isEmpty() ? tr("Undefined output") : name, output);
        const QColor color = outputColor(record);
        if (color.isValid()) {
            popUp->setItemData(popUp->count() - 1, legibleTextColor(color, background),
                               Qt::ForegroundRole);
        }
    }
    if (selectedOutput >= 0) {
        popUp->setCurrentIndex(popUp->findData(selectedOutput));
    }
}

void OutputSettingsCell::loadMenuWithOutputs(QMenu* menu, const QObject* target,
                                             const std::function<void(int output)>& action) {
    for (int output = 0; output < kProgramOutputCount; ++output) {
        const QVariantMap record = outputRecord(output);
        const QString name = outputName(record);
        if (name.isEmpty()) {
            continue;
        }
        const QString title = menuTitle(name);
        QAction* item = menu->addAction(title);
        item->setData(output);
        QObject::connect(item, &QAction::triggered, target, [action, output] { action(output); });
        // An output without a colour still clears the colour its title had before.
        const QColor color = outputColor(record);
        if (color.isValid() || qobject_cast<OutputMenuStyle*>(menu->style())) {
            OutputMenuStyle::forMenu(menu)->setTitleColor(title, color);
        }
    }
}
