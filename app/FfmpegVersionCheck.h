#pragma once

// The decoding library's run-time version against the one the program was built with:
// an FFmpeg older than the headers the program was compiled against may lack what it
// calls, so the program refuses to start on it with an alert.
//
// Thread contract: main thread only.

struct Alert;

class FfmpegVersionCheck {
public:
    // libavformat's version as the loaded library reports it (AV_VERSION_INT form).
    static unsigned runtimeVersion();
    // The oldest version the program accepts: the major and minor version it was built
    // against.
    static unsigned requiredVersion();
    static bool isRecentEnough(unsigned runtime, unsigned required) { return runtime >= required; }

    // "Incorrect FFmpeg version!" with its text and the button "OK".
    static Alert incorrectVersionAlert(unsigned required);

    // Whether the loaded library will do; when not, shows the alert first.
    static bool check();
};
