#include "app/EditorChooserDialog.h"

#include "foundation/Logging.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace {

constexpr int kCommandRole = Qt::UserRole;

QIcon applicationIcon(const QString& iconName) {
    if (iconName.isEmpty()) {
        return QIcon::fromTheme(QStringLiteral("application-x-executable"));
    }
    if (QFileInfo(iconName).isAbsolute()) {
        return QIcon(iconName);
    }
    return QIcon::fromTheme(iconName, QIcon::fromTheme(QStringLiteral("application-x-executable")));
}

} // namespace

EditorChooserDialog::EditorChooserDialog(QList<DesktopApplication> applications, QWidget* parent)
    : QDialog(parent)
    , _applications(std::move(applications)) {
    setWindowTitle(tr("Choose the Editor"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Open clips for editing with:"), this));
    _list = new QListWidget(this);
    _list->setIconSize(QSize(24, 24));
    layout->addWidget(_list);
    _showAll = new QCheckBox(tr("Show all applications"), this);
    layout->addWidget(_showAll);
    // Said here rather than in a message box, so the operator can pick again at once.
    _problem = new QLabel(this);
    _problem->setWordWrap(true);
    _problem->setStyleSheet(QStringLiteral("color: #b00020"));
    _problem->hide();
    layout->addWidget(_problem);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* other = buttons->addButton(tr("Other Program..."), QDialogButtonBox::ActionRole);
    buttons->addButton(QDialogButtonBox::Cancel);
    _chooseButton = buttons->addButton(tr("Choose"), QDialogButtonBox::AcceptRole);
    layout->addWidget(buttons);
    resize(420, 460);

    connect(_showAll, &QCheckBox::toggled, this, &EditorChooserDialog::setShowsAllApplications);
    connect(other, &QPushButton::clicked, this, &EditorChooserDialog::browseForProgram);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(_list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(_list, &QListWidget::currentRowChanged, this,
            [this](int row) { _chooseButton->setEnabled(row >= 0); });
    fillList();
}

QString EditorChooserDialog::chooseEditor(QWidget* parent) {
    EditorChooserDialog dialog(DesktopApplications::installedApplications(), parent);
    return dialog.exec() == Accepted ? dialog.command() : QString();
}

QString EditorChooserDialog::command() const {
    if (!_programCommand.isEmpty()) {
        return _programCommand;
    }
    const QListWidgetItem* item = _list->currentItem();
    return item ? item->data(kCommandRole).toString() : QString();
}

void EditorChooserDialog::setShowsAllApplications(bool all) {
    if (_showAll->isChecked() != all) {
        _showAll->setChecked(all); // comes back here through toggled
        return;
    }
    fillList();
}

void EditorChooserDialog::fillList() {
    _list->clear();
    const bool anyOpensAudio =
        std::any_of(_applications.begin(), _applications.end(),
                    [](const DesktopApplication& a) { return a.opensAudio; });
    const bool all = _showAll->isChecked() || !anyOpensAudio;
    for (const DesktopApplication& application : _applications) {
        if (!all && !application.opensAudio) {
            continue;
        }
        auto* item =
            new QListWidgetItem(applicationIcon(application.iconName), application.name, _list);
        item->setData(kCommandRole, application.command);
        item->setToolTip(application.command);
    }
    _chooseButton->setEnabled(false);
}

bool EditorChooserDialog::chooseProgram(const QString& path) {
    const QFileInfo program(path);
    if (!program.isFile() || !program.isExecutable()) {
        qCInfo(lcApp).noquote() << QStringLiteral("\"%1\" is not a program").arg(path);
        _problem->setText(tr("\"%1\" is not a program that can be started.").arg(path));
        _problem->show();
        return false;
    }
    const QString absolute = program.absoluteFilePath();
    _programCommand = DesktopApplications::commandFromExec(
        absolute.contains(u' ') ? u'"' + absolute + u'"' : absolute);
    accept();
    return true;
}

void EditorChooserDialog::browseForProgram() {
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Choose a Program"), QStringLiteral("/usr/bin"));
    if (!path.isEmpty()) {
        chooseProgram(path);
    }
}

QString EditorChooserDialog::problem() const {
    return _problem->isHidden() ? QString() : _problem->text();
}
