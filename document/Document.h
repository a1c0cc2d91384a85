#pragma once

// What every document shares: where its file is, whether it has unsaved changes (shown
// as the modified marker "[*]" in its window's title), how it turns into bytes and back
// (the subclass's file format), its window, and the rules a subclass refines: whether it
// has clips sounding, whether its window may close, and what it does when another
// document asks the others to stop.
//
// The DocumentController creates, opens, saves and closes documents; a document it
// holds knows it (documentController()), so it can reach the other open documents.
//
// The document watches its window (an event filter): a close request goes through the
// document controller's close rules (or windowShouldClose() for a document without a
// controller), and a move reaches windowDidMove().
//
// Thread contract: main thread only.

#include <QObject>
#include <QPointer>
#include <QString>

class DocumentController;
class QWidget;

class Document : public QObject {
    Q_OBJECT
public:
    enum class ChangeKind { Done, Undone, Cleared };

    explicit Document(QObject* parent = nullptr);
    ~Document() override;

    // The registered type name ("PresetDocument").
    virtual QString typeName() const = 0;

    // ---- File ----
    // The absolute path of the file; "" while untitled.
    QString filePath() const { return _filePath; }
    void setFilePath(const QString& path);
    // The title shown: the file's name, or the untitled name given by the controller.
    QString displayName() const;
    void setUntitledName(const QString& name);

    // ---- Changes ----
    // Done counts a change up, Undone down, Cleared forgets all (after a save or load).
    void updateChangeCount(ChangeKind kind);
    bool isDocumentEdited() const { return _changeCount != 0; }

    // ---- Format ----
    // The file's bytes; empty with *error set when the document cannot be written.
    virtual QByteArray dataRepresentation(QString* error) const = 0;
    // Reads the file's bytes. Bytes that do not hold this kind of document are refused
    // with *error set and change nothing.
    virtual bool loadDataRepresentation(const QByteArray& data, QString* error) = 0;

    // ---- Window ----
    // Makes the window and its controller (once). The base makes none.
    virtual void makeWindowControllers() {}
    // The window; null before makeWindowControllers() or for a document without one.
    virtual QWidget* window() const = 0;
    // Shows the window, raised and active.
    virtual void showWindows();
    // Whether the controller should place the window by cascading (no saved frame).
    bool shouldCascadeWindows() const { return _shouldCascadeWindows; }

    // ---- Rules ----
    // Whether any clip plays or is paused.
    virtual bool hasPlayingClips() const { return false; }
    // Another document (`sender`) asks the others to stop. Does nothing by default.
    virtual void stopDocument(Document* sender) { (void)sender; }
    // Asks every other document of the controller, in opening order and of any type, to
    // stop (what firing with "Fade Other Documents" or Shift does). Nothing without a
    // controller.
    void stopOtherDocuments();
    // Asked before the window closes (before the save question); false keeps it open.
    virtual bool windowShouldClose() { return true; }
    // The window was moved by the user or the window system.
    virtual void windowDidMove() {}
    // Checks each clip's file and reports what it found; only documents that answer
    // true to checksForMissingClips() do (the menu item is off for the others).
    virtual void checkForMissingClips() {}
    virtual bool checksForMissingClips() const { return false; }
    // The document is closing for good: stop what it plays and detach from the
    // process-wide services. Called once, before the document is deleted.
    virtual void close() {}

    DocumentController* documentController() const { return _documentController; }
    void setDocumentController(DocumentController* controller) { _documentController = controller; }

signals:
    // The edited state or the title changed.
    void documentStateChanged();

protected:
    // Subclasses call this once their window exists, so the document watches it and
    // keeps its title and modified marker.
    void adoptWindow(QWidget* window);
    void setShouldCascadeWindows(bool cascade) { _shouldCascadeWindows = cascade; }
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateWindowTitle();

    QString _filePath;
    QString _untitledName;
    int _changeCount = 0;
    bool _shouldCascadeWindows = true;
    QPointer<QWidget> _watchedWindow;
    DocumentController* _documentController = nullptr;
};
