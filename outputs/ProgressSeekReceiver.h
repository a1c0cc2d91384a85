#pragma once

// Whoever moves a clip when the operator Command-clicks (Ctrl-clicks) into its progress bar:
// the outputs panel, the pre-listen player. Main thread only.

class ProgressSeekReceiver {
public:
    virtual ~ProgressSeekReceiver() = default;

    // `fraction` of the clip's length, 0.0 (start) to 1.0 (end).
    virtual void setMoviePosition(double fraction) = 0;
};
