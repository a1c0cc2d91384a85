#pragma once

// The application's documents: it makes them by registered type, opens them from files
// (several at once, each once: opening an open file brings its window to the front),
// saves them atomically, reverts and closes them with the usual questions, keeps them in
// opening order (for switching with Tab and for stopping the other documents), and
// keeps the recent-files list under the user default "Recent Documents".
//
// Every question and error goes through the installed AlertPresenter; the open and save
// panels are replaceable functions, so tests drive all of it without a modal window.
//
// A file that cannot be read or does not hold a document of its type is refused with a
// message naming the file and the reason, and nothing opens. A save writes the whole
// file beside the old one and renames it over only when every byte is on disk; a failed
// save leaves the old file as it was, says why, and keeps the document edited.
//
// Thread contract: main thread only.

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class Document;

class DocumentController : public QObject {
    Q_OBJECT
public:
    struct DocumentType {
        QString name;      // "PresetDocument"
        QString mimeType;  // "application/x-zelvora-preset"
        QString extension; // "zpreset" (without the dot)
        QString label;     // "Preset" (file-dialog filter and menus)
        std::function<std::unique_ptr<Document>()> factory;
    };

    // Shows an open panel for one or more files of `filter`; the chosen paths (none when
    // cancelled).
    using OpenPanel = std::function<QStringList(const QString& filter)>;
    // Shows a save panel for `filter` starting at `suggestedPath`; the chosen path ("" when
    // cancelled).
    using SavePanel = std::function<QString(const QString& filter, const QString& suggestedPath)>;

    static constexpr int kMaxRecentDocuments = 10;
    static const QString kRecentDocumentsKey;

    explicit DocumentController(QObject* parent = nullptr);
    ~DocumentController() override;

    // The application's controller (installed at start; null before). Not owned.
    static DocumentController* shared();
    static void setShared(DocumentController* controller);

    // ---- Types ----
    // Registers a type; the first registered is the default for new documents.
    void registerDocumentType(DocumentType type);
    const DocumentType* typeNamed(const QString& name) const;
    // The type whose extension `path` has (case-insensitively); null when none.
    const DocumentType* typeForPath(const QString& path) const;
    // "Preset (*.zpreset);;Playlist (*.zplaylist)": every registered type.
    QString fileDialogFilter() const;

    // ---- Documents, in opening order ----
    QList<Document*> documents() const;
    // The document whose window is active, else the one opened last; null when none.
    Document* currentDocument() const;
    // The open document of that file; null when none.
    Document* documentForPath(const QString& path) const;

    // ---- Commands ----
    // A new untitled document of `typeName` ("" the default type), shown.
    Document* newDocument(const QString& typeName = QString());
    // Opens the file (or brings its open document to the front). On failure shows why
    // and answers null, with the reason in *error.
    Document* openDocument(const QString& path, bool display = true, QString* error = nullptr);
    // Asks the open panel for files and opens each; answers how many are now open.
    int openDocuments();
    // Saves to the document's file, or asks for one (Save As) when it is untitled.
    bool saveDocument(Document* document);
    // Asks for a file and saves there; the document then lives at the new path.
    bool saveDocumentAs(Document* document);
    // Saves to `path` directly (the Save As without its panel).
    bool saveDocumentTo(Document* document, const QString& path);
    // Asks, then reads the document's file again, dropping the changes. An untitled
    // document cannot be reverted; a file that no longer reads leaves it unchanged.
    bool revertDocument(Document* document);
    // Closes with the document's own rule first (clips playing), then "save changes?"
    // when edited. Answers whether it closed. `playbackStopConfirmed` skips the
    // document's own rule: the user has already agreed to stop everything (quitting).
    bool closeDocument(Document* document, bool playbackStopConfirmed = false);
    // Closes every document in turn; stops at the first that stays open.
    bool closeAllDocuments(bool playbackStopConfirmed = false);

    // ---- Recent files ----
    QStringList recentDocuments() const;
    void noteNewRecentDocument(const QString& path);
    void clearRecentDocuments();

    // ---- Panels ----
    void setOpenPanel(OpenPanel panel) { _openPanel = std::move(panel); }
    void setSavePanel(SavePanel panel) { _savePanel = std::move(panel); }

    // ---- Windows ----
    // Called with every document whose window has just been made, before the window is
    // placed and shown: the application puts its menu bar on every kind of document
    // window here. Null: nothing is added.
    using WindowMadeHandler = std::function<void(Document*)>;
    void setWindowMadeHandler(WindowMadeHandler handler) { _windowMade = std::move(handler); }

signals:
    void documentsChanged();
    void recentDocumentsChanged();

private:
    void addDocument(std::unique_ptr<Document> document, bool display);
    void placeWindow(Document* document);
    void showError(Document* document, const QString& title, const QString& reason) const;
    QString nextUntitledName();
    QString filterFor(const DocumentType* type) const;
    static QString withExtension(const QString& path, const DocumentType* type);

    QList<DocumentType> _types;
    QList<Document*> _documents;
    int _untitledCount = 0;
    OpenPanel _openPanel;
    SavePanel _savePanel;
    WindowMadeHandler _windowMade;
};
