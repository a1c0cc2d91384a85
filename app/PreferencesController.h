#pragma once

// The preferences window. Three pages:
//  - General: the check boxes bound to "Read ID3 Tags", "Should Open Untitled Preset",
//    "Lock Window Positions", "Use GPI" and "Fader Stop In Cue Mode", the default
//    editor, and the GPI box that shows tally ("Kestrel Serial Number"), chosen among
//    the serial numbers of the connected boxes;
//  - Function Keys: the preset document opened by each of F1 to F12. Cancelling the
//    chooser clears the key, deliberately: it is how an assignment is removed;
//  - Outputs: the nine output blocks (OutputSettingsCell), the eight program outputs
//    and the pre-listen output; the pop-up above them brings one program output's block
//    into view and marks it.
// Every change is written to the user defaults at once; there is no apply step. The
// controls follow the defaults when those change elsewhere.
//
// Show it with showWindow(). Main thread only.

#include <QList>
#include <QWidget>
#include <array>
#include <functional>

class CColorCustomView;
class OutputSettingsCell;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QScrollArea;
class QTabWidget;

class PreferencesController : public QWidget {
    Q_OBJECT
public:
    static constexpr int kFunctionKeyCount = 12;
    static constexpr int kOutputCount = 9;

    // Answers a chosen path or command, or "" when the operator cancelled.
    using Chooser = std::function<QString(QWidget* parent)>;

    explicit PreferencesController(QWidget* parent = nullptr);
    ~PreferencesController() override;

    // Brings the window up (the "Preferences..." menu item), with the list of connected
    // GPI boxes refreshed.
    void showWindow();

    // F`key` (1..12): runs the document chooser and stores its answer, "" included, under
    // "Function Key `key`".
    void functionKeyButtonPushed(int key);
    // The document chooser: one preset document, "" when cancelled.
    QString selectFile();
    // Runs the editor chooser; a chosen command becomes "Default Editor", cancelling
    // changes nothing.
    void selectEditorButtonPushed();
    // Lists the serial numbers of the connected GPI boxes, selecting the stored one.
    void reloadGpiBoxes();
    // Brings output `index`'s block into view and marks it.
    void showOutput(int index);
    // Shows what the user defaults hold now.
    void userDefaultsHaveChanged();

    // Replace the choosers (the platform's file dialog and the editor chooser by default).
    void setDocumentChooser(Chooser chooser);
    void setEditorChooser(Chooser chooser);

    QLineEdit* functionKeyField(int key) const;
    QLineEdit* defaultEditorField() const { return _defaultEditorField; }
    QComboBox* outputsPopUpButton() const { return _outputsPopUpButton; }
    QComboBox* kestrelsPopUpButton() const { return _kestrelsPopUpButton; }
    QCheckBox* checkBoxForKey(const QString& key) const;
    OutputSettingsCell* outputCell(int index) const;
    QTabWidget* tabView() const { return _tabView; }
    CColorCustomView* outputMark() const { return _outputMark; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct BoundCheckBox {
        QString key;
        QCheckBox* box = nullptr;
    };

    void windowDidLoad();
    QWidget* buildGeneralPage();
    QWidget* buildFunctionKeysPage();
    QWidget* buildOutputsPage();
    void placeOutputMark();
    void storeSelectedGpiBox();

    QTabWidget* _tabView = nullptr;
    std::array<QLineEdit*, kFunctionKeyCount> _functionKeyFields{};
    QLineEdit* _defaultEditorField = nullptr;
    QComboBox* _outputsPopUpButton = nullptr;
    QComboBox* _kestrelsPopUpButton = nullptr;
    QList<BoundCheckBox> _checkBoxes;
    QScrollArea* _outputView = nullptr;
    QWidget* _outputsMatrix = nullptr;
    QList<OutputSettingsCell*> _outputSubviews;
    CColorCustomView* _outputMark = nullptr;
    int _markedOutput = -1;
    Chooser _documentChooser;
    Chooser _editorChooser;
};
