#pragma once

// Posts a press or release of a physical modifier key to the window system, so a
// modifier latched on a keypad also modifies clicks and typing in every program. Works
// where the session is X11 and the XTest extension answers; elsewhere (Wayland, the
// offscreen platform) it posts nothing and the latched states act inside the
// application only, through ApplicationKeyStates.
//
// Thread contract: main thread only.

#include <memory>

class ModifierKeyPoster {
public:
    enum class Modifier { Shift, Command, Alt, Control };

    ModifierKeyPoster();
    ~ModifierKeyPoster();
    ModifierKeyPoster(const ModifierKeyPoster&) = delete;
    ModifierKeyPoster& operator=(const ModifierKeyPoster&) = delete;

    // Whether key events can be posted in this session.
    bool canPost() const;
    // Presses (`down`) or releases the left-hand key of `modifier`: Shift, Control (the
    // desktop's command key), Alt, Super (the control key of keypads made for Macs).
    void post(Modifier modifier, bool down);

private:
    struct Connection;
    std::unique_ptr<Connection> _connection;
};
