#include "document/Document.h"

#include "document/DocumentController.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QWidget>

Document::Document(QObject* parent)
    : QObject(parent) {}

Document::~Document() {
    if (_watchedWindow) {
        _watchedWindow->removeEventFilter(this);
    }
}

void Document::setFilePath(const QString& path) {
    _filePath = path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath();
    updateWindowTitle();
    emit documentStateChanged();
}

QString Document::displayName() const {
    if (!_filePath.isEmpty()) {
        return QFileInfo(_filePath).fileName();
    }
    return _untitledName.isEmpty() ? QStringLiteral("Untitled") : _untitledName;
}

void Document::setUntitledName(const QString& name) {
    _untitledName = name;
    updateWindowTitle();
}

void Document::updateChangeCount(ChangeKind kind) {
    const bool wasEdited = isDocumentEdited();
    switch (kind) {
    case ChangeKind::Done:
        ++_changeCount;
        break;
    case ChangeKind::Undone:
        --_changeCount;
        break;
    case ChangeKind::Cleared:
        _changeCount = 0;
        break;
    }
    if (_watchedWindow) {
        _watchedWindow->setWindowModified(isDocumentEdited());
    }
    if (wasEdited != isDocumentEdited()) {
        emit documentStateChanged();
    }
}

void Document::showWindows() {
    QWidget* w = window();
    if (!w) {
        return;
    }
    w->show();
    w->raise();
    w->activateWindow();
}

void Document::adoptWindow(QWidget* window) {
    if (_watchedWindow == window) {
        return;
    }
    if (_watchedWindow) {
        _watchedWindow->removeEventFilter(this);
    }
    _watchedWindow = window;
    if (window) {
        window->installEventFilter(this);
        updateWindowTitle();
        window->setWindowModified(isDocumentEdited());
    }
}

void Document::updateWindowTitle() {
    if (_watchedWindow) {
        // "[*]" is where Qt shows the modified marker.
        _watchedWindow->setWindowTitle(displayName() + QStringLiteral("[*]"));
    }
}

bool Document::eventFilter(QObject* watched, QEvent* event) {
    if (watched != _watchedWindow) {
        return QObject::eventFilter(watched, event);
    }
    if (event->type() == QEvent::Close) {
        const bool mayClose =
            _documentController ? _documentController->closeDocument(this) : windowShouldClose();
        if (!mayClose) {
            event->ignore();
            return true;
        }
        return false;
    }
    if (event->type() == QEvent::Move) {
        windowDidMove();
    }
    return QObject::eventFilter(watched, event);
}

void Document::stopOtherDocuments() {
    if (!_documentController) {
        return;
    }
    for (Document* other : _documentController->documents()) {
        if (other != this) {
            other->stopDocument(this);
        }
    }
}
