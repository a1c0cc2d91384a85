#include "resources/ZelvoraResources.h"

#include <QtCore/qglobal.h>

// Q_INIT_RESOURCE declares the generated registration function where it is used, so it
// has to be used in the global namespace.
static void registerCompiledImages() {
    Q_INIT_RESOURCE(resources);
}

void ZelvoraResources::initialize() {
    static const bool registered = (registerCompiledImages(), true);
    Q_UNUSED(registered);
}
