#include "app/FfmpegVersionCheck.h"

#include "document/AlertPresenter.h"
#include "foundation/Logging.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/version.h>
}

unsigned FfmpegVersionCheck::runtimeVersion() {
    return avformat_version();
}

unsigned FfmpegVersionCheck::requiredVersion() {
    return AV_VERSION_INT(LIBAVFORMAT_VERSION_MAJOR, LIBAVFORMAT_VERSION_MINOR, 0);
}

Alert FfmpegVersionCheck::incorrectVersionAlert(unsigned required) {
    Alert alert;
    alert.style = Alert::Style::Critical;
    alert.title = QStringLiteral("Incorrect FFmpeg version!");
    // Two blanks before "and", as the alert has always read.
    alert.message = QStringLiteral("This application requires FFmpeg (libavformat %1.%2) or later. "
                                   "Please update FFmpeg  and try again.")
                        .arg(AV_VERSION_MAJOR(required))
                        .arg(AV_VERSION_MINOR(required));
    alert.buttons = {QStringLiteral("OK")};
    return alert;
}

bool FfmpegVersionCheck::check() {
    const unsigned runtime = runtimeVersion();
    const unsigned required = requiredVersion();
    if (isRecentEnough(runtime, required)) {
        return true;
    }
    qCCritical(lcApp, "libavformat %u.%u.%u is older than %u.%u, which the program needs",
               AV_VERSION_MAJOR(runtime), AV_VERSION_MINOR(runtime), AV_VERSION_MICRO(runtime),
               AV_VERSION_MAJOR(required), AV_VERSION_MINOR(required));
    AlertPresenter::current().runAlert(incorrectVersionAlert(required));
    return false;
}
