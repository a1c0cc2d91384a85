#pragma once

// Logging categories of Zelvora Studio. Diagnostics go through these (stderr or the
// journal), never through printf; enable detail with QT_LOGGING_RULES="zelvora.*=true".

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcFoundation)
Q_DECLARE_LOGGING_CATEGORY(lcDefaults)
Q_DECLARE_LOGGING_CATEGORY(lcMedia)
Q_DECLARE_LOGGING_CATEGORY(lcDevice)
Q_DECLARE_LOGGING_CATEGORY(lcClip)
Q_DECLARE_LOGGING_CATEGORY(lcOutputs)
Q_DECLARE_LOGGING_CATEGORY(lcEditing)
Q_DECLARE_LOGGING_CATEGORY(lcPreset)
Q_DECLARE_LOGGING_CATEGORY(lcPlaylist)
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcMidi)
Q_DECLARE_LOGGING_CATEGORY(lcGpi)
Q_DECLARE_LOGGING_CATEGORY(lcKeypad)
