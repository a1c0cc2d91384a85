#pragma once

// The documents of the running program: a document controller that knows the cart wall
// type (.zpreset), the controller factory that gives every preset window its
// PresetController, the menu bar of every document window (of any registered type), the
// first windows at start and the quit rule.
//
// While the session lives it is the shared document controller (so documents reach each
// other, for "Fade Other Documents") and its factory is the installed preset controller
// factory; both are uninstalled when it goes, after its documents have been closed.
//
// Thread contract: main thread only.

#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>

class Document;
class DocumentController;

class DocumentSession : public QObject {
    Q_OBJECT
public:
    explicit DocumentSession(QObject* parent = nullptr);
    ~DocumentSession() override;

    DocumentController& documentController() const { return *_documentController; }

    // Opens the documents named on the command line. When none of them opens (or none
    // was named), opens an untitled cart wall if "Should Open Untitled Preset" says so,
    // or anyway when no window would show at all. Answers how many documents are open.
    int openInitialDocuments(const QStringList& paths);

    // Whether the program may quit: with clips playing or paused anywhere it asks
    // "Warning!" first; then each edited document asks whether to save it. Answers true
    // once every document has been closed; false leaves the rest open.
    bool shouldTerminate();
    // Replaces shouldTerminate() as what quit() asks: the application's own rule, which
    // also stops what runs beside the documents. Null goes back to shouldTerminate().
    void setQuitRule(std::function<bool()> rule);
    // The quit rule, then leaves the event loop when it says yes. Every quit comes here:
    // the File menu's Quit and the close of the last document window.
    void quit();

    // The File menu's commands for `document` (the window they were chosen in).
    void newDocument();
    void openDocuments();
    void openRecentDocument(const QString& path);
    void closeDocument(Document* document);
    void saveDocument(Document* document);
    void saveDocumentAs(Document* document);
    void revertDocument(Document* document);
    void checkForMissingClips(Document* document);

private:
    std::unique_ptr<DocumentController> _documentController;
    std::function<bool()> _quitRule;
    bool _quitting = false;
};
