#include "app/DocumentGPITargets.h"

#include "app/hid/GPIInputReceiver.h"
#include "document/DocumentController.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"

#include <QObject>

namespace {

// Lives as a child of its cart wall, so it goes with the document.
class PresetGPIReceiver : public QObject, public GPIInputReceiver {
public:
    explicit PresetGPIReceiver(PresetDocument* document)
        : QObject(document)
        , _document(document) {}

    void gpiInputHasChanged(int input, int newState) override {
        if (auto* controller = dynamic_cast<PresetController*>(_document->controller())) {
            controller->gpiInputHasChanged(input, newState);
        }
    }

private:
    PresetDocument* _document;
};

} // namespace

DocumentGPITargets::DocumentGPITargets(DocumentController& documents)
    : _documents(documents) {}

int DocumentGPITargets::openDocumentsCount() const {
    return int(_documents.documents().size());
}

GPIInputReceiver* DocumentGPITargets::documentControllerAt(int position) const {
    const QList<Document*> open = _documents.documents();
    return position >= 0 && position < open.size() ? receiverOf(open.at(position)) : nullptr;
}

GPIInputReceiver* DocumentGPITargets::currentDocumentController() const {
    return receiverOf(_documents.currentDocument());
}

GPIInputReceiver* DocumentGPITargets::receiverOf(Document* document) {
    auto* preset = qobject_cast<PresetDocument*>(document);
    if (!preset) {
        return nullptr;
    }
    for (QObject* child : preset->children()) {
        if (auto* receiver = dynamic_cast<PresetGPIReceiver*>(child)) {
            return receiver;
        }
    }
    return new PresetGPIReceiver(preset);
}
