#include "document/DocumentController.h"

#include "document/AlertPresenter.h"
#include "document/Document.h"
#include "foundation/AtomicFile.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QWidget>

const QString DocumentController::kRecentDocumentsKey = QStringLiteral("Recent Documents");

namespace {
DocumentController* gShared = nullptr;

// Windows without a saved frame open this far right and down from the last one.
constexpr int kCascadeOffset = 22;

// Two spellings of one file compare equal once both are canonical; a file that does not
// exist (yet) compares by its absolute path.
QString comparablePath(const QString& path) {
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

QString quoted(const QString& name) {
    return QStringLiteral("\u201C") + name + QStringLiteral("\u201D");
}

bool readWholeFile(const QString& path, QByteArray* bytes, QString* error) {
    QFile file(path);
    if (!file.exists()) {
        *error = QStringLiteral("The file %1 does not exist.").arg(path);
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("The file %1 cannot be read: %2.").arg(path, file.errorString());
        return false;
    }
    *bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("The file %1 cannot be read: %2.").arg(path, file.errorString());
        return false;
    }
    return true;
}
} // namespace

DocumentController::DocumentController(QObject* parent)
    : QObject(parent)
    , _openPanel([](const QString& filter) {
        return QFileDialog::getOpenFileNames(nullptr, QStringLiteral("Open"), QString(), filter);
    })
    , _savePanel([](const QString& filter, const QString& suggestedPath) {
        return QFileDialog::getSaveFileName(nullptr, QStringLiteral("Save"), suggestedPath, filter);
    }) {}

DocumentController::~DocumentController() {
    const QList<Document*> open = _documents;
    _documents.clear();
    for (Document* document : open) {
        document->close();
        delete document;
    }
    if (gShared == this) {
        gShared = nullptr;
    }
}

DocumentController* DocumentController::shared() {
    return gShared;
}

void DocumentController::setShared(DocumentController* controller) {
    gShared = controller;
}

// ---- Types ----

void DocumentController::registerDocumentType(DocumentType type) {
    _types.append(std::move(type));
}

const DocumentController::DocumentType* DocumentController::typeNamed(const QString& name) const {
    for (const DocumentType& type : _types) {
        if (type.name == name) {
            return &type;
        }
    }
    return nullptr;
}

const DocumentController::DocumentType* DocumentController::typeForPath(const QString& path) const {
    const QString suffix = QFileInfo(path).suffix();
    for (const DocumentType& type : _types) {
        if (suffix.compare(type.extension, Qt::CaseInsensitive) == 0) {
            return &type;
        }
    }
    return nullptr;
}

QString DocumentController::filterFor(const DocumentType* type) const {
    return QStringLiteral("%1 (*.%2)").arg(type->label, type->extension);
}

QString DocumentController::fileDialogFilter() const {
    QStringList filters;
    for (const DocumentType& type : _types) {
        filters << filterFor(&type);
    }
    return filters.join(QStringLiteral(";;"));
}

QString DocumentController::withExtension(const QString& path, const DocumentType* type) {
    if (!type || QFileInfo(path).suffix().compare(type->extension, Qt::CaseInsensitive) == 0) {
        return path;
    }
    return path + QLatin1Char('.') + type->extension;
}

// ---- Documents ----

QList<Document*> DocumentController::documents() const {
    return _documents;
}

Document* DocumentController::currentDocument() const {
    const QWidget* active = QApplication::activeWindow();
    for (Document* document : _documents) {
        if (active && document->window() == active) {
            return document;
        }
    }
    return _documents.isEmpty() ? nullptr : _documents.last();
}

Document* DocumentController::documentForPath(const QString& path) const {
    const QString wanted = comparablePath(path);
    for (Document* document : _documents) {
        if (!document->filePath().isEmpty() && comparablePath(document->filePath()) == wanted) {
            return document;
        }
    }
    return nullptr;
}

void DocumentController::addDocument(std::unique_ptr<Document> document, bool display) {
    Document* added = document.release();
    added->setParent(this);
    added->setDocumentController(this);
    _documents.append(added);
    added->makeWindowControllers();
    if (_windowMade && added->window()) {
        _windowMade(added);
    }
    placeWindow(added);
    if (display) {
        added->showWindows();
    }
    emit documentsChanged();
}

void DocumentController::placeWindow(Document* document) {
    QWidget* window = document->window();
    if (!window || !document->shouldCascadeWindows()) {
        return;
    }
    for (auto it = _documents.rbegin(); it != _documents.rend(); ++it) {
        if (*it != document && (*it)->window()) {
            window->move((*it)->window()->pos() + QPoint(kCascadeOffset, kCascadeOffset));
            return;
        }
    }
}

QString DocumentController::nextUntitledName() {
    ++_untitledCount;
    return _untitledCount == 1 ? QStringLiteral("Untitled")
                               : QStringLiteral("Untitled %1").arg(_untitledCount);
}

void DocumentController::showError(Document* document, const QString& title,
                                   const QString& reason) const {
    qCWarning(lcApp).noquote() << title << reason;
    Alert alert;
    alert.style = Alert::Style::Critical;
    alert.title = title;
    alert.message = reason;
    alert.buttons = {QStringLiteral("OK")};
    alert.parent = document ? document->window() : nullptr;
    AlertPresenter::current().runAlert(alert);
}

// ---- Commands ----

Document* DocumentController::newDocument(const QString& typeName) {
    const DocumentType* type =
        typeName.isEmpty() ? (_types.isEmpty() ? nullptr : &_types.first()) : typeNamed(typeName);
    if (!type || !type->factory) {
        qCWarning(lcApp) << "No document type named" << typeName;
        return nullptr;
    }
    std::unique_ptr<Document> document = type->factory();
    document->setUntitledName(nextUntitledName());
    Document* made = document.get();
    addDocument(std::move(document), true);
    return made;
}

Document* DocumentController::openDocument(const QString& path, bool display, QString* error) {
    QString reason;
    const QString title = QStringLiteral("The document %1 could not be opened.")
                              .arg(quoted(QFileInfo(path).fileName()));
    if (Document* open = documentForPath(path)) {
        if (display) {
            open->showWindows();
        }
        return open;
    }
    const DocumentType* type = typeForPath(path);
    QByteArray bytes;
    if (!type || !type->factory) {
        reason = QStringLiteral("Zelvora Studio cannot open files of this type (%1).")
                     .arg(QFileInfo(path).suffix().isEmpty()
                              ? QStringLiteral("no extension")
                              : QLatin1Char('.') + QFileInfo(path).suffix());
    } else if (readWholeFile(path, &bytes, &reason)) {
        std::unique_ptr<Document> document = type->factory();
        document->setFilePath(path);
        if (document->loadDataRepresentation(bytes, &reason)) {
            Document* opened = document.get();
            addDocument(std::move(document), display);
            noteNewRecentDocument(opened->filePath());
            return opened;
        }
        document->close();
    }
    if (error) {
        *error = reason;
    }
    showError(nullptr, title, reason);
    return nullptr;
}

int DocumentController::openDocuments() {
    int opened = 0;
    for (const QString& path : _openPanel(fileDialogFilter())) {
        if (openDocument(path)) {
            ++opened;
        }
    }
    return opened;
}

bool DocumentController::saveDocument(Document* document) {
    if (!document) {
        return false;
    }
    if (document->filePath().isEmpty()) {
        return saveDocumentAs(document);
    }
    return saveDocumentTo(document, document->filePath());
}

bool DocumentController::saveDocumentAs(Document* document) {
    if (!document) {
        return false;
    }
    const DocumentType* type = typeNamed(document->typeName());
    const QString suggested = document->filePath().isEmpty()
                                  ? withExtension(document->displayName(), type)
                                  : document->filePath();
    const QString chosen = _savePanel(type ? filterFor(type) : fileDialogFilter(), suggested);
    if (chosen.isEmpty()) {
        return false;
    }
    return saveDocumentTo(document, withExtension(chosen, type));
}

bool DocumentController::saveDocumentTo(Document* document, const QString& path) {
    if (!document || path.isEmpty()) {
        return false;
    }
    const QString title =
        QStringLiteral("The document %1 could not be saved.").arg(quoted(document->displayName()));
    QString reason;
    const QByteArray bytes = document->dataRepresentation(&reason);
    if (bytes.isEmpty()) {
        showError(document, title, reason);
        return false;
    }
    if (!AtomicFile::write(path, bytes, &reason)) {
        showError(document, title, reason);
        return false;
    }
    if (comparablePath(path) != comparablePath(document->filePath()) ||
        document->filePath().isEmpty()) {
        document->setFilePath(path);
    }
    document->updateChangeCount(Document::ChangeKind::Cleared);
    noteNewRecentDocument(document->filePath());
    return true;
}

bool DocumentController::revertDocument(Document* document) {
    if (!document || document->filePath().isEmpty()) {
        return false;
    }
    if (document->isDocumentEdited()) {
        Alert question;
        question.style = Alert::Style::Warning;
        question.title =
            QStringLiteral("Do you want to revert to the most recently saved version of the "
                           "document %1?")
                .arg(quoted(document->displayName()));
        question.message = QStringLiteral("Your current changes will be lost.");
        question.buttons = {QStringLiteral("Revert"), QStringLiteral("Cancel")};
        question.cancelButton = 1;
        question.parent = document->window();
        if (AlertPresenter::current().runAlert(question) != 0) {
            return false;
        }
    }
    QByteArray bytes;
    QString reason;
    if (!readWholeFile(document->filePath(), &bytes, &reason) ||
        !document->loadDataRepresentation(bytes, &reason)) {
        showError(document,
                  QStringLiteral("The document %1 could not be reverted.")
                      .arg(quoted(document->displayName())),
                  reason);
        return false;
    }
    return true;
}

bool DocumentController::closeDocument(Document* document, bool playbackStopConfirmed) {
    if (!document || !_documents.contains(document)) {
        return false;
    }
    if (!playbackStopConfirmed && !document->windowShouldClose()) {
        return false;
    }
    if (document->isDocumentEdited()) {
        Alert question;
        question.style = Alert::Style::Warning;
        question.title =
            QStringLiteral("Do you want to save the changes you made in the document %1?")
                .arg(quoted(document->displayName()));
        question.message = QStringLiteral("Your changes will be lost if you don't save them.");
        question.buttons = {QStringLiteral("Save"), QStringLiteral("Cancel"),
                            QStringLiteral("Don't Save")};
        question.cancelButton = 1;
        question.parent = document->window();
        const int answer = AlertPresenter::current().runAlert(question);
        if (answer == 1) {
            return false;
        }
        if (answer == 0 && !saveDocument(document)) {
            return false;
        }
    }
    _documents.removeOne(document);
    document->close();
    if (QWidget* window = document->window()) {
        // Hidden, not closed: the close request that may have brought us here is still
        // being delivered to it. The window goes with the document.
        window->hide();
    }
    document->deleteLater();
    emit documentsChanged();
    return true;
}

bool DocumentController::closeAllDocuments(bool playbackStopConfirmed) {
    const QList<Document*> open = _documents;
    for (Document* document : open) {
        if (!closeDocument(document, playbackStopConfirmed)) {
            return false;
        }
    }
    return true;
}

// ---- Recent files ----

QStringList DocumentController::recentDocuments() const {
    UserDefaults* defaults = UserDefaults::standard();
    if (!defaults) {
        return {};
    }
    QStringList paths;
    for (const QVariant& entry : defaults->arrayForKey(kRecentDocumentsKey)) {
        if (entry.typeId() == QMetaType::QString && !entry.toString().isEmpty()) {
            paths << entry.toString();
        }
    }
    return paths.mid(0, kMaxRecentDocuments);
}

void DocumentController::noteNewRecentDocument(const QString& path) {
    UserDefaults* defaults = UserDefaults::standard();
    if (!defaults || path.isEmpty()) {
        return;
    }
    QStringList paths = recentDocuments();
    const QString absolute = QFileInfo(path).absoluteFilePath();
    paths.removeAll(absolute);
    paths.prepend(absolute);
    defaults->setObject(QVariant(paths.mid(0, kMaxRecentDocuments)), kRecentDocumentsKey);
    emit recentDocumentsChanged();
}

void DocumentController::clearRecentDocuments() {
    if (UserDefaults* defaults = UserDefaults::standard()) {
        defaults->removeObject(kRecentDocumentsKey);
        emit recentDocumentsChanged();
    }
}
