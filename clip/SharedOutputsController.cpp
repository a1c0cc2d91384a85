#include "clip/SharedOutputsController.h"

namespace {
ClipOutputsObserver* gOutputsController = nullptr;
} // namespace

ClipOutputsObserver* sharedOutputsController() {
    return gOutputsController;
}

void setSharedOutputsController(ClipOutputsObserver* controller) {
    gOutputsController = controller;
}
