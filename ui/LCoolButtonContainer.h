#pragma once

#include "ui/LPaintControl.h"

#include <map>
#include <memory>

class LWindow;

// Self-drawn push buttons of a window, made by LWindow::AddCoolButtonTextOnly.
// Up/down buttons: at the press Command(down) then EnableControls(), the value is 1; at the
// release, wherever the pointer is, the value goes to 0, then Command(up) and EnableControls().
// A number of -1 or 0 sends nothing for that edge; leaving the button cancels nothing.
class LCoolButtonContainer {
public:
    // Out of line, as the destructor: Button is complete only there.
    LCoolButtonContainer();
    virtual ~LCoolButtonContainer();

    void CoolButtonContainerInit(LWindow* window);
    // Command(id) at the press only.
    void CoolButtonInit(int id);
    void CoolButtonInitUpDown(int id, int upCommand, int downCommand);
    // As CoolButtonInitUpDown; the button draws through CoolButtonCustomDraw.
    void CoolButtonInitUpDownCustomDraw(int id, int upCommand, int downCommand);
    // Sets the control's value only, and so its pressed look.
    void SetCoolButtonDown(int id, bool down);
    bool IsCoolButtonDown(int id) const;
    // True while the pointer is over the button.
    bool IsCoolButtonHot(int id) const;

    // Paints a custom-drawn button; the font is height 12, weight 400.
    virtual void CoolButtonCustomDraw(PaintData& /*data*/, int /*id*/) {}

private:
    class Button;
    void _AddButton(int id, std::unique_ptr<Button> button);

    LWindow* _window = nullptr;
    std::map<int, std::unique_ptr<Button>> _buttons;
};
