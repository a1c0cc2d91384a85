#include "app/DocumentMenuBar.h"

#include "app/DocumentSession.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "foundation/UserDefaults.h"

#include <QAction>
#include <QFileInfo>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>

namespace {

const QString kLockWindowPositionsKey = QStringLiteral("Lock Window Positions");

std::function<void(QMenuBar*)>& applicationMenuMaker() {
    static std::function<void(QMenuBar*)> maker;
    return maker;
}

} // namespace

DocumentMenuBar* DocumentMenuBar::install(QWidget* window, Document* document,
                                          DocumentSession& session) {
    if (!window || !window->layout()) {
        return nullptr;
    }
    auto* menuBar = new QMenuBar(window);
    window->layout()->setMenuBar(menuBar);
    auto* documentMenuBar = new DocumentMenuBar(menuBar, document, session);
    if (applicationMenuMaker()) {
        applicationMenuMaker()(menuBar);
    }
    return documentMenuBar;
}

void DocumentMenuBar::setApplicationMenuMaker(std::function<void(QMenuBar*)> maker) {
    applicationMenuMaker() = std::move(maker);
}

DocumentMenuBar::DocumentMenuBar(QMenuBar* menuBar, Document* document, DocumentSession& session)
    : QObject(menuBar)
    , _menuBar(menuBar)
    , _document(document)
    , _session(session) {
    buildFileMenu();
    if (document) {
        connect(document, &Document::documentStateChanged, this,
                &DocumentMenuBar::updateEnabledItems);
    }
    updateEnabledItems();
}

void DocumentMenuBar::buildFileMenu() {
    _fileMenu = _menuBar->addMenu(tr("&File"));
    const auto add = [this](const QString& text, const QKeySequence& shortcut, auto&& slot) {
        QAction* action = _fileMenu->addAction(text);
        action->setShortcut(shortcut);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    add(tr("&New"), QKeySequence::New, [this] { _session.newDocument(); });
    add(tr("&Open..."), QKeySequence::Open, [this] { _session.openDocuments(); });
    _recentMenu = _fileMenu->addMenu(tr("Open &Recent"));
    connect(_recentMenu, &QMenu::aboutToShow, this, &DocumentMenuBar::rebuildRecentMenu);
    rebuildRecentMenu();
    _fileMenu->addSeparator();
    add(tr("&Close"), QKeySequence::Close, [this] { _session.closeDocument(_document); });
    _saveAction =
        add(tr("&Save"), QKeySequence::Save, [this] { _session.saveDocument(_document); });
    add(tr("Save &As..."), QKeySequence::SaveAs, [this] { _session.saveDocumentAs(_document); });
    _revertAction =
        add(tr("Re&vert to Saved"), QKeySequence(), [this] { _session.revertDocument(_document); });
    _fileMenu->addSeparator();
    _checkForMissingClipsAction = add(tr("Check for &Missing Clips"), QKeySequence(),
                                      [this] { _session.checkForMissingClips(_document); });
    _lockAction = add(tr("&Lock Window Positions"), QKeySequence(), [this](bool locked) {
        if (UserDefaults* defaults = UserDefaults::standard()) {
            defaults->setObject(locked, kLockWindowPositionsKey);
        }
    });
    _lockAction->setCheckable(true);
    _fileMenu->addSeparator();
    add(tr("&Quit"), QKeySequence::Quit, [this] { _session.quit(); });
    // Shortcuts and check marks are read when the menu opens, so every window shows the
    // state of the shared default and of its own document.
    connect(_fileMenu, &QMenu::aboutToShow, this, &DocumentMenuBar::updateEnabledItems);
}

QAction* DocumentMenuBar::fileAction(const QString& text) const {
    for (QAction* action : _fileMenu->actions()) {
        if (QString(action->text()).remove(QLatin1Char('&')) == text) {
            return action;
        }
    }
    return nullptr;
}

void DocumentMenuBar::rebuildRecentMenu() {
    _recentMenu->clear();
    DocumentController& documents = _session.documentController();
    const QStringList recent = documents.recentDocuments();
    for (const QString& path : recent) {
        QAction* item = _recentMenu->addAction(QFileInfo(path).fileName());
        item->setToolTip(path);
        item->setData(path);
        connect(item, &QAction::triggered, this,
                [this, path] { _session.openRecentDocument(path); });
    }
    if (!recent.isEmpty()) {
        _recentMenu->addSeparator();
    }
    QAction* clear = _recentMenu->addAction(tr("Clear Menu"));
    clear->setEnabled(!recent.isEmpty());
    connect(clear, &QAction::triggered, &documents, &DocumentController::clearRecentDocuments);
}

void DocumentMenuBar::updateEnabledItems() {
    const bool edited = _document && _document->isDocumentEdited();
    const bool hasFile = _document && !_document->filePath().isEmpty();
    _saveAction->setEnabled(edited || !hasFile);
    _revertAction->setEnabled(edited && hasFile);
    _checkForMissingClipsAction->setEnabled(_document && _document->checksForMissingClips());
    const UserDefaults* defaults = UserDefaults::standard();
    _lockAction->setChecked(defaults && defaults->boolForKey(kLockWindowPositionsKey));
}
