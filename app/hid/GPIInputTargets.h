#pragma once

// Where GPI input edges go: the controllers of the open documents. The application
// implements it over its document controller; a contact always acts on the document the
// operator sees, so the target is the only open document when exactly one is open and
// the current document otherwise (none: the edge is recorded and sent nowhere).
//
// Thread contract: main thread only.

class GPIInputReceiver;

class GPIInputTargets {
public:
    virtual ~GPIInputTargets() = default;

    virtual int openDocumentsCount() const = 0;
    // The receiver of the open document at `position` (opening order); null when that
    // document's controller takes no GPI input.
    virtual GPIInputReceiver* documentControllerAt(int position) const = 0;
    // The receiver of the current document; null when there is no current document.
    virtual GPIInputReceiver* currentDocumentController() const = 0;

    // The receiver an edge goes to now, by the rule above; null for none.
    GPIInputReceiver* targetDocumentController() const {
        return openDocumentsCount() == 1 ? documentControllerAt(0) : currentDocumentController();
    }
};
