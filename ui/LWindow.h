#pragma once

#include "ui/LGuiTypes.h"
#include "ui/LTimerHandler.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class QWidget;
class LPaintControl;
class LMouseHandler;
class LWindow;
class LPopupMenu;

// Receives the inter-window messages a window was subscribed to.
class LInterWinMessageHandler {
public:
    virtual ~LInterWinMessageHandler() = default;
    virtual long EvInterWinMessage(int message, long data1, long data2) = 0;
    // Subscribes this handler to `message` of `window`; the first call installs it there.
    void HandleInterWinMessage(LWindow* window, int message);
};

// One (control id, tip text) pair of AddTools.
struct LToolTip {
    int id;
    const char* text;
};

// A window or embedded panel on a QWidget. Controls are known by an integer id, unique in the
// window, which is also the key of their tip and a Command number. Everything here runs on the
// interface thread.
class LWindow : public LTimerHandler {
public:
    LWindow();
    ~LWindow() override;
    LWindow(const LWindow&) = delete;
    LWindow& operator=(const LWindow&) = delete;

    // Makes a top-level window of that client size; InitDialog follows once it exists.
    void CreateTopLevel(const char* title, int width, int height);
    void Show();
    void Hide();
    bool IsShown() const;
    // Moves and sizes the window after it was made: an embedded window within its parent, a
    // top-level window's client area on the screen. A negative size counts as 0. An embedded
    // window lays out its controls for the new size.
    void SetWindowPixels(int x, int y, int width, int height);

    virtual int _Run() { return 0; }
    virtual void InitDialog() {}
    virtual void DestroyDialog() {}
    virtual bool CmOk() { return true; }
    virtual bool CmCancel() { return true; }
    virtual void CmHelp() {}
    virtual void EnableControls() {}
    virtual void Command(int /*id*/) {}
    virtual void EvShow() {}
    virtual void EvHide() {}
    virtual void EvActivate() {}
    virtual void EvDeactivate() {}
    virtual void InitCommon() {}
    // Closes the window with that result (a dialog's answer).
    virtual void Close(int result);
    virtual void SetAppIcon() {}

    // Menu items by command id, on the window's menu bar and popup menus.
    virtual void EnableMenuItem(int id, bool enable);
    virtual void EnableMenuItemList(const int* ids, int count, bool enable);
    virtual void EnableMenuItemRange(int first, int last, bool enable);
    virtual void EnableMenuItems(bool enable);
    virtual void CheckMenuItem(int id, bool check);
    // Checks `id` among first..last and clears the others.
    virtual void CheckMenuItem(int id, int first, int last);
    virtual void CheckMenuRadioItem(int first, int last, int id);
    virtual void SetMenuItemText(int id, const char* text);
    virtual void SetMenuItemText(int id, const char* text, int newId);
    virtual void RemoveMenuItem(int id);
    virtual void InsertMenuItem(int beforeId, int id, const char* text);
    virtual void InsertMenuItemAtPos(int menuId, int position, int id, const char* text);
    virtual void InsertMenuItemSeparator(int beforeId);
    virtual void InsertMenuItemSeparator(int menuId, int position);

    // Inter-window messages: to this window's handler at once, on the calling thread.
    virtual long EvInterWinMessage(int message, long data1, long data2);
    long SendInterWinMessage(int message, long data1, long data2);
    // The same to the parent window; with no parent nothing happens and the answer is 0.
    long SendParentInterWinMessage(int message, long data1, long data2);

    // Controls.
    void AddPaintControl(int id, int x, int y, int width, int height, LPaintControlFlags flags);
    void AddDBDisplay(int id, int x, int y, int width, int height);
    void AddCoolButtonTextOnly(int id, const char* text);
    void AddStatic(int id, const char* text, int x, int y, int width, int height);
    void SetControlFont(int id, const LGuiFont& font);
    void SetControlText(int id, const char* text);
    void MoveControlPixels(int id, int x, int y, int width, int height);
    // Clips that control's painting to a rounded rectangle of that radius (0: none).
    void SetControlRoundedCorners(int id, int radius);
    void ShowControl(int id, bool show);
    void EnableControl(int id, bool enable);
    void EnableControlRange(int first, int last, bool enable);
    bool IsControlValid(int id) const;
    QWidget* GetControlHandle(int id) const;
    // A control's value; a cool button's is 1 while pressed.
    int GetControlValue(int id) const;
    void SetControlValue(int id, int value);
    // The paint control bound to `id` by LPaintControl::Init, or null.
    LPaintControl* GetPaintControl(int id) const;

    // Tips: bubbles shown while the pointer rests on a control.
    void AddTools(LWindow* tipOwner, const LToolTip* list, int count);
    void BubbleTipHide();

    // Shows `menu` at the pointer and blocks until it closes; the chosen item's id then goes to
    // Command. Answers the id, or 0 when nothing was chosen.
    int DisplayPopupMenu(const LPopupMenu& menu);
    void RedrawWindow();

    // Command(id) now. PostCommand queues it for the next turn of the event loop.
    void SendCommand(int id);
    void PostCommand(int id);

    // Modal alerts, titled with the program's name.
    void PopupBoxError(const char* text);
    bool PopupBoxQueryYes(const char* text);
    void GoToHelpPage(const char* section = nullptr);

    LWindow* GetParent() const { return _parent; }
    QWidget* GetWidget() const;
    bool IsEnabled() const;
    int GetClientWidth() const;
    int GetClientHeight() const;

    // Toolkit side.
    struct Impl;
    Impl& _GetImpl() const { return *_impl; }

protected:
    // Embedded windows live inside `parent`.
    void _CreateEmbedded(LWindow* parent, int x, int y, int width, int height);
    void _SetInterWinHandler(int message, LInterWinMessageHandler* handler);

private:
    friend class LInterWinMessageHandler;
    std::unique_ptr<Impl> _impl;
    LWindow* _parent = nullptr;
    std::map<int, LInterWinMessageHandler*> _messageHandlers;
};

// A panel that lives inside another window.
class LEmbeddedWindow : public LWindow {
public:
    // Makes the panel's widget inside `parent` and calls InitDialog.
    void CreateEmbedded(LWindow* parent, int x, int y, int width, int height);
    // Whenever the panel's size is known or changes: place every control by MoveControlPixels.
    virtual void LayoutControls(int /*x*/, int /*y*/, int /*width*/, int /*height*/) {}
};

// A window that runs modally. A false answer from CmOk keeps it open.
class LDialog : public LWindow {
public:
    // Runs the dialog modally over `parent` (may be null): InitDialog, then the modal loop,
    // which still drains the program's event queue. Answers the result given to Close:
    // 1 after a true CmOk, 0 after a true CmCancel.
    int Open(LWindow* parent, const char* title, int width, int height);
    int _Run() override;
};

// A popup menu: items by command id, separators and submenus.
class LPopupMenu {
public:
    struct Item {
        int id = 0;  // 0 for a separator or a submenu
        std::string text;
        bool enabled = true;
        bool checked = false;
        std::shared_ptr<LPopupMenu> submenu;
    };
    void AddItem(int id, const char* text, bool enabled = true, bool checked = false);
    void AddSeparator();
    LPopupMenu& AddSubMenu(const char* text);
    const std::vector<Item>& GetItems() const { return _items; }

private:
    std::vector<Item> _items;
};
