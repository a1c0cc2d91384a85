// Zelvora Studio: hands control to the application object and does nothing else.

#include "app/ZelvoraApplication.h"

int main(int argc, char** argv) {
    ZelvoraApplication app(argc, argv);
    return app.run();
}
