#pragma once

// Keys routed to a control or window. Answer true when the key was used; false passes it on.
class LKeyHandler {
public:
    virtual ~LKeyHandler() = default;
    virtual bool EvKeyDown(int /*key*/, int /*modifiers*/) { return false; }
    virtual bool EvKeyUp(int /*key*/, int /*modifiers*/) { return false; }
};
