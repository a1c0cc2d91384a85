#pragma once

// The menu bar of one document window. Its File menu: New, Open… (several files at once),
// Open Recent (with Clear Menu), Close, Save, Save As…, Revert to Saved, Check for Missing
// Clips, Lock Window Positions (the user default, shared by every window) and Quit, with
// the desktop's usual shortcuts. Every command works on the window's own document through
// the session's document controller; Save and Revert are offered only when they can do
// something (Revert needs a file and changes).
//
// Thread contract: main thread only.

#include <QObject>
#include <QPointer>
#include <functional>

class Document;
class DocumentSession;
class QAction;
class QMenu;
class QMenuBar;
class QWidget;

class DocumentMenuBar : public QObject {
    Q_OBJECT
public:
    // Puts a menu bar at the top of `window` (which must have a layout) for `document`.
    // The menu bar belongs to the window; this object is its child.
    static DocumentMenuBar* install(QWidget* window, Document* document, DocumentSession& session);
    // Adds the application's own menu to every menu bar installed from now on (null: none).
    static void setApplicationMenuMaker(std::function<void(QMenuBar*)> maker);

    QMenuBar* menuBar() const { return _menuBar; }
    QMenu* fileMenu() const { return _fileMenu; }
    QMenu* recentMenu() const { return _recentMenu; }
    // The item of the File menu titled `text` (without its "&" marks); null when none.
    QAction* fileAction(const QString& text) const;

private:
    DocumentMenuBar(QMenuBar* menuBar, Document* document, DocumentSession& session);
    void buildFileMenu();
    void rebuildRecentMenu();
    void updateEnabledItems();

    QMenuBar* _menuBar;
    QPointer<Document> _document;
    DocumentSession& _session;
    QMenu* _fileMenu = nullptr;
    QMenu* _recentMenu = nullptr;
    QAction* _saveAction = nullptr;
    QAction* _revertAction = nullptr;
    QAction* _checkForMissingClipsAction = nullptr;
    QAction* _lockAction = nullptr;
};
