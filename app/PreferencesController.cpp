#include "app/PreferencesController.h"

#include "app/EditorChooserDialog.h"
#include "clip/GpiTallyLines.h"
#include "clip/StudioServices.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "outputs/CColorCustomView.h"
#include "outputs/OutputSettingsCell.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

const QString kDefaultEditorKey = QStringLiteral("Default Editor");
const QString kKestrelSerialNumberKey = QStringLiteral("Kestrel Serial Number");
const QString kPreListenTitle = QStringLiteral("Pre-Listening Output Settings");
// The cart wall document type; function keys open these.
const QString kPresetExtension = QStringLiteral("zpreset");

struct CheckBoxKey {
    const char* key;
    const char* title;
};

// The defaults bound to a check box, and how the box names them.
constexpr CheckBoxKey kCheckBoxKeys[] = {
    {"Read ID3 Tags", QT_TRANSLATE_NOOP("PreferencesController",
                                        "Read the title, artist and album tags of audio files")},
    {"Should Open Untitled Preset",
     QT_TRANSLATE_NOOP("PreferencesController", "Open an untitled cart wall at start")},
    {"Lock Window Positions", QT_TRANSLATE_NOOP("PreferencesController", "Lock window positions")},
    {"Use GPI", QT_TRANSLATE_NOOP("PreferencesController", "Use GPI")},
    {"Fader Stop In Cue Mode",
     QT_TRANSLATE_NOOP("PreferencesController", "A fader stops its clip in cue mode")},
};

QString functionKeyKey(int key) {
    return QStringLiteral("Function Key %1").arg(key);
}

UserDefaults* defaults() {
    return UserDefaults::standard();
}

} // namespace

PreferencesController::PreferencesController(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , _documentChooser([this](QWidget*) { return selectFile(); })
    , _editorChooser([](QWidget* owner) { return EditorChooserDialog::chooseEditor(owner); }) {
    setWindowTitle(tr("Preferences"));
    windowDidLoad();
    if (UserDefaults* store = defaults()) {
        connect(store, &UserDefaults::defaultsChanged, this,
                &PreferencesController::userDefaultsHaveChanged);
    }
    userDefaultsHaveChanged();
}

PreferencesController::~PreferencesController() = default;

void PreferencesController::windowDidLoad() {
    _tabView = new QTabWidget(this);
    _tabView->addTab(buildGeneralPage(), tr("General"));
    _tabView->addTab(buildFunctionKeysPage(), tr("Function Keys"));
    _tabView->addTab(buildOutputsPage(), tr("Outputs"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(_tabView);
    reloadGpiBoxes();
    resize(720, 640);
}

QWidget* PreferencesController::buildGeneralPage() {
    auto* page = new QWidget(_tabView);
    auto* layout = new QVBoxLayout(page);
    auto* options = new QGroupBox(tr("Options"), page);
    auto* optionsLayout = new QVBoxLayout(options);
    for (const CheckBoxKey& entry : kCheckBoxKeys) {
        auto* box = new QCheckBox(tr(entry.title), options);
        const QString key = QString::fromLatin1(entry.key);
        optionsLayout->addWidget(box);
        _checkBoxes.append({key, box});
        connect(box, &QCheckBox::clicked, this, [key](bool checked) {
            if (UserDefaults* store = defaults()) {
                store->setObject(checked, key);
            }
        });
    }
    layout->addWidget(options);

    auto* tools = new QGroupBox(tr("Editor and GPI"), page);
    auto* form = new QFormLayout(tools);
    auto* editorRow = new QHBoxLayout;
    _defaultEditorField = new QLineEdit(tools);
    _defaultEditorField->setReadOnly(true);
    _defaultEditorField->setAccessibleName(tr("Default Editor"));
    auto* chooseEditor = new QPushButton(tr("Choose..."), tools);
    connect(chooseEditor, &QPushButton::clicked, this,
            &PreferencesController::selectEditorButtonPushed);
    editorRow->addWidget(_defaultEditorField, 1);
    editorRow->addWidget(chooseEditor);
    form->addRow(tr("Default editor:"), editorRow);
    _kestrelsPopUpButton = new QComboBox(tools);
    _kestrelsPopUpButton->setAccessibleName(tr("GPI Box"));
    _kestrelsPopUpButton->setMinimumContentsLength(12);
    _kestrelsPopUpButton->setToolTip(tr("The serial number of the GPI box that shows tally"));
    connect(_kestrelsPopUpButton, &QComboBox::activated, this,
            &PreferencesController::storeSelectedGpiBox);
    form->addRow(tr("Tally on GPI box:"), _kestrelsPopUpButton);
    layout->addWidget(tools);
    layout->addStretch(1);
    return page;
}

QWidget* PreferencesController::buildFunctionKeysPage() {
    auto* page = new QWidget(_tabView);
    auto* grid = new QGridLayout(page);
    grid->addWidget(new QLabel(tr("The cart wall each function key opens. Cancelling the "
                                  "choice clears the key."),
                               page),
                    0, 0, 1, 3);
    for (int key = 1; key <= kFunctionKeyCount; ++key) {
        auto* field = new QLineEdit(page);
        field->setReadOnly(true);
        field->setAccessibleName(QStringLiteral("F%1").arg(key));
        auto* choose = new QPushButton(tr("Choose..."), page);
        connect(choose, &QPushButton::clicked, this, [this, key] { functionKeyButtonPushed(key); });
        grid->addWidget(new QLabel(QStringLiteral("F%1").arg(key), page), key, 0);
        grid->addWidget(field, key, 1);
        grid->addWidget(choose, key, 2);
        _functionKeyFields[size_t(key - 1)] = field;
    }
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(kFunctionKeyCount + 1, 1);
    return page;
}

QWidget* PreferencesController::buildOutputsPage() {
    auto* page = new QWidget(_tabView);
    auto* layout = new QVBoxLayout(page);
    auto* pick = new QHBoxLayout;
    _outputsPopUpButton = new QComboBox(page);
    _outputsPopUpButton->setAccessibleName(tr("Outputs"));
    pick->addWidget(new QLabel(tr("Show:"), page));
    pick->addWidget(_outputsPopUpButton);
    pick->addStretch(1);
    layout->addLayout(pick);

    _outputView = new QScrollArea(page);
    _outputView->setWidgetResizable(true);
    _outputsMatrix = new QWidget(_outputView);
    // The mark sits behind the blocks, which draw no background of their own.
    _outputMark = new CColorCustomView(_outputsMatrix);
    _outputMark->hide();
    auto* rows = new QVBoxLayout(_outputsMatrix);
    rows->setSpacing(2);
    for (int index = 0; index < kOutputCount; ++index) {
        auto* cell = new OutputSettingsCell(index, _outputsMatrix);
        if (index == kOutputCount - 1) {
            cell->setBoxTitle(kPreListenTitle);
        } else {
            _outputsPopUpButton->addItem(cell->outputCellName(), index);
        }
        rows->addWidget(cell);
        _outputSubviews.append(cell);
    }
    rows->addStretch(1);
    _outputsMatrix->installEventFilter(this);
    _outputView->setWidget(_outputsMatrix);
    layout->addWidget(_outputView, 1);
    connect(_outputsPopUpButton, &QComboBox::activated, this,
            [this](int item) { showOutput(_outputsPopUpButton->itemData(item).toInt()); });
    return page;
}

void PreferencesController::showWindow() {
    reloadGpiBoxes();
    show();
    raise();
    activateWindow();
}

QLineEdit* PreferencesController::functionKeyField(int key) const {
    return key >= 1 && key <= kFunctionKeyCount ? _functionKeyFields[size_t(key - 1)] : nullptr;
}

QCheckBox* PreferencesController::checkBoxForKey(const QString& key) const {
    for (const BoundCheckBox& bound : _checkBoxes) {
        if (bound.key == key) {
            return bound.box;
        }
    }
    return nullptr;
}

OutputSettingsCell* PreferencesController::outputCell(int index) const {
    return index >= 0 && index < _outputSubviews.size() ? _outputSubviews[index] : nullptr;
}

// ---- Function keys and editor ----

void PreferencesController::functionKeyButtonPushed(int key) {
    if (key < 1 || key > kFunctionKeyCount || !defaults()) {
        return;
    }
    // A cancelled chooser answers "", which removes the key's document.
    const QString path = _documentChooser ? _documentChooser(this) : QString();
    defaults()->setObject(path, functionKeyKey(key));
}

QString PreferencesController::selectFile() {
    return QFileDialog::getOpenFileName(this, tr("Choose a Cart Wall"), QString(),
                                        tr("Cart walls (*.%1)").arg(kPresetExtension));
}

void PreferencesController::selectEditorButtonPushed() {
    const QString command = _editorChooser ? _editorChooser(this) : QString();
    if (!command.isEmpty() && defaults()) {
        defaults()->setObject(command, kDefaultEditorKey);
    }
}

void PreferencesController::setDocumentChooser(Chooser chooser) {
    _documentChooser = std::move(chooser);
}

void PreferencesController::setEditorChooser(Chooser chooser) {
    _editorChooser = std::move(chooser);
}

// ---- GPI box ----

void PreferencesController::reloadGpiBoxes() {
    _kestrelsPopUpButton->clear();
    if (const GpiTallyLines* gpi = StudioServices::gpiTallyLines()) {
        _kestrelsPopUpButton->addItems(gpi->connectedSerialNumbers());
    }
    _kestrelsPopUpButton->setPlaceholderText(
        _kestrelsPopUpButton->count() == 0 ? tr("No GPI box is connected") : tr("Choose a box"));
    const QString stored =
        defaults() ? defaults()->stringForKey(kKestrelSerialNumberKey) : QString();
    // A stored box that is not connected selects nothing rather than another box.
    _kestrelsPopUpButton->setCurrentIndex(_kestrelsPopUpButton->findText(stored));
}

void PreferencesController::storeSelectedGpiBox() {
    if (defaults() && _kestrelsPopUpButton->currentIndex() >= 0) {
        defaults()->setObject(_kestrelsPopUpButton->currentText(), kKestrelSerialNumberKey);
    }
}

// ---- Outputs ----

void PreferencesController::showOutput(int index) {
    OutputSettingsCell* cell = outputCell(index);
    if (!cell) {
        return;
    }
    _markedOutput = index;
    _outputsPopUpButton->setCurrentIndex(_outputsPopUpButton->findData(index));
    placeOutputMark();
    _outputView->ensureWidgetVisible(cell, 0, 0);
}

void PreferencesController::placeOutputMark() {
    const OutputSettingsCell* cell = outputCell(_markedOutput);
    if (!cell) {
        _outputMark->hide();
        return;
    }
    _outputMark->setGeometry(cell->geometry());
    _outputMark->show();
    _outputMark->lower();
}

bool PreferencesController::eventFilter(QObject* watched, QEvent* event) {
    // The blocks move when the window is resized; the mark follows its block.
    if (watched == _outputsMatrix &&
        (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)) {
        placeOutputMark();
    }
    return QWidget::eventFilter(watched, event);
}

// ---- Defaults to controls ----

void PreferencesController::userDefaultsHaveChanged() {
    const UserDefaults* store = defaults();
    if (!store) {
        return;
    }
    for (int key = 1; key <= kFunctionKeyCount; ++key) {
        _functionKeyFields[size_t(key - 1)]->setText(store->stringForKey(functionKeyKey(key)));
    }
    _defaultEditorField->setText(store->stringForKey(kDefaultEditorKey));
    for (const BoundCheckBox& bound : _checkBoxes) {
        bound.box->setChecked(store->boolForKey(bound.key));
    }
    _kestrelsPopUpButton->setCurrentIndex(
        _kestrelsPopUpButton->findText(store->stringForKey(kKestrelSerialNumberKey)));
}
