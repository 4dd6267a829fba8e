#pragma once

#include "ui/LGuiTypes.h"

#include <vector>

class LWindow;

// Mouse events of one control, in the control's coordinates. Wheel `delta` is 120 a notch,
// positive away from the user (touchpad deltas are gathered into whole notches).
class LMouseHandler {
public:
    virtual ~LMouseHandler() = default;
    virtual void EvMouseIn() {}
    virtual void EvMouseOut() {}
    virtual void EvLButtonDown(int /*x*/, int /*y*/) {}
    virtual void EvDoubleClick(int /*x*/, int /*y*/) {}
    virtual void EvLButtonUp(int /*x*/, int /*y*/) {}
    virtual void EvRButtonUp(int /*x*/, int /*y*/) {}
    virtual void EvRButtonDown(int /*x*/, int /*y*/) {}
    virtual void EvMouseMove(int /*x*/, int /*y*/) {}
    virtual void EvMouseWheel(int /*x*/, int /*y*/, int /*delta*/) {}
    virtual void EvMouseHWheel(int /*x*/, int /*y*/, int /*delta*/) {}
};

// A mouse handler bound to one control. The control receives events while the pointer is over
// it and, while the capture flag is set, also when it has left (coordinates then may be
// negative or beyond its size). Any button-up clears the flag, after the handler has run.
class LMouseCapture : public LMouseHandler {
public:
    ~LMouseCapture() override;
    void InitMouseCapture(LWindow* window, int id);
    void DestroyMouseCapture();

    void SetCapture(bool on) { _captured = on; }
    bool IsCaptured() const { return _captured; }
    // Pointer shape while over the control.
    void SetCursor(LCursorShape shape);
    // Hides or shows the pointer; moves it to control coordinates (where the window system
    // allows it).
    void ShowPointer(bool show);
    void MovePointer(int x, int y);
    void TakeFocus();

    LWindow* GetMouseWindow() const { return _window; }
    int GetMouseControlId() const { return _id; }

    // Toolkit side: the window is being destroyed; forget it.
    virtual void _WindowGone();

private:
    LWindow* _window = nullptr;
    int _id = 0;
    bool _captured = false;
    bool _pointerHidden = false;
};

// Rectangles with a command for a press and one for entering. Over a region the pointer is the
// pointing hand; the enter command is posted once when the pointer moves into another region;
// a press posts the press command of the first region that holds the point.
class LMouseClickRegions : public LMouseCapture {
public:
    struct Region {
        int x, y, width, height;
        int pressCommand;
        int enterCommand;
    };
    void AddRegion(const Region& region) { _regions.push_back(region); }
    void ClearRegions() { _regions.clear(); _current = -1; }
    void EvMouseMove(int x, int y) override;
    void EvLButtonDown(int x, int y) override;
    void EvMouseOut() override;

private:
    int _RegionAt(int x, int y) const;

    std::vector<Region> _regions;
    int _current = -1;
};

// Pointer shape of a control, by the toolkit's numbers.
namespace LGuiCursor {
void SetCursor(LWindow* window, int controlId, LCursorShape shape);
}
