#pragma once

// The buttons of one document as the application's key states act on them: what a
// keypad's grid key or a fired key does to button `index` of a document's controller.
//
// Thread contract: main thread only.

class ClipButtonTarget {
public:
    virtual ~ClipButtonTarget() = default;

    virtual void configureButtonAtIndex(int index) = 0;
    virtual void openWithEditorItemAtIndex(int index) = 0;
    virtual void stopPlayback(int index) = 0;
    virtual void toggleLoopForItemAtIndex(int index) = 0;
    virtual void startPlayback(int index) = 0;
    virtual void preListenClipAtIndex(int index, bool atEnd) = 0;
    virtual void toggleCueMode() = 0;
};
