#pragma once

// The application's look at every key before normal dispatch. Installed as an
// application-wide event filter, it examines key presses as they reach a top-level
// window (before the focus widget sees them):
//
// - a press with Shift, Control, Alt or Meta held always passes on untouched;
// - Left and Right are swallowed while a cart wall or the outputs panel is in front (the
//   arrows act there as pre-listen modifiers, read through isLeft/RightArrowDepressed);
// - F1..F12 open their function-key documents and are swallowed whenever the key has an
//   entry, even an empty one, so an unset key opens nothing and does nothing else;
// - Tab shows the next open document (passed on when there is none);
// - Space, with a cart wall or the outputs panel in front, releases every pause through
//   the outputs panel;
// - everything else, letter keys included, passes on to the window's own key handling.
//
// It also tracks the physical Left and Right arrow keys from their presses and releases,
// and forgets them when the program loses the keyboard (a release it cannot see).
//
// Thread contract: main thread only.

#include <QObject>
#include <Qt>

class KeyInterceptor : public QObject {
    Q_OBJECT
public:
    // What the intercepted keys act on (the application controller).
    class Target {
    public:
        virtual ~Target() = default;
        // Whether the window in front is a cart wall or the outputs panel.
        virtual bool presetOrPanelInFront() const = 0;
        // Shows the next open document; false when there is none to show.
        virtual bool switchToNextOpenDocument() = 0;
        // Opens the document of function key `index` (1..12); false when the key has no
        // entry at all.
        virtual bool openFunctionKeyDocumentAtIndex(int index) = 0;
        // Space: every paused output plays on.
        virtual void spaceBarHasBeenDepressed() = 0;
    };

    explicit KeyInterceptor(Target& target, QObject* parent = nullptr);

    // Routes one key press; answers whether it was swallowed.
    bool routeKeyPress(int key, Qt::KeyboardModifiers modifiers);
    // Notes a press (`down`) or release of a physical key; only the arrows matter.
    void noteKey(int key, bool down);

    bool isLeftArrowDepressed() const { return _leftArrowDown; }
    bool isRightArrowDepressed() const { return _rightArrowDown; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Target& _target;
    bool _leftArrowDown = false;
    bool _rightArrowDown = false;
};
