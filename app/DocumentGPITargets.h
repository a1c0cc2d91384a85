#pragma once

// GPIInputTargets over the program's document controller: a contact edge goes to the
// controller of the only open document, else of the current one. Cart walls take GPI
// input (their faders and cue releases); other documents take none.
//
// Thread contract: main thread only.

#include "app/hid/GPIInputTargets.h"

class DocumentController;
class Document;

class DocumentGPITargets : public GPIInputTargets {
public:
    // `documents` is not owned and must outlive this object.
    explicit DocumentGPITargets(DocumentController& documents);

    int openDocumentsCount() const override;
    GPIInputReceiver* documentControllerAt(int position) const override;
    GPIInputReceiver* currentDocumentController() const override;

private:
    static GPIInputReceiver* receiverOf(Document* document);

    DocumentController& _documents;
};
