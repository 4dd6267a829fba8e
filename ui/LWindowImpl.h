#pragma once

// The Qt side of LWindow, for the toolkit's own sources only.

#include "base/LEventQueue.h"
#include "ui/LGuiTypes.h"
#include "ui/LWindow.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>
#include <map>
#include <memory>

class QAction;
class QMenu;
class LPaintControl;
class LMouseCapture;

// What a control widget is.
enum class LControlKind : int { kPaint, kDBDisplay, kCoolButton, kStatic };

// One control of a window, by id.
struct LControlEntry {
    LControlKind kind = LControlKind::kPaint;
    QPointer<QWidget> widget;
    LPaintControl* paint = nullptr;   // bound by LPaintControl::Init
    LMouseCapture* mouse = nullptr;   // bound by InitMouseCapture
    int value = 0;
    int cornerRadius = 0;  // pixels; 0: no rounded clip
    QString text;
};

// A widget that calls back into its window. A window that goes before its widgets (an embedded
// panel's widget is deleted later, from the loop) cuts the link first.
class LWindowLink {
public:
    virtual ~LWindowLink() = default;
    virtual void _Detach() = 0;
};

// The self-drawn control widget: paints through the bound LPaintControl and hands mouse events
// to the bound LMouseCapture by the capture rule.
class LControlWidget : public QWidget, public LWindowLink {
public:
    LControlWidget(LWindow* window, int id, QWidget* parent);
    int GetId() const { return _id; }
    void _Detach() override { _window = nullptr; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    LControlEntry* _Entry() const;
    LMouseCapture* _Mouse() const;
    // Whether an event at `x`,`y` reaches the handler: inside, or anywhere while captured.
    bool _Reaches(const LMouseCapture& mouse, int x, int y) const;

    LWindow* _window;
    int _id;
    int _wheelRemainder = 0;   // 1/120 notch units not yet delivered
    int _hwheelRemainder = 0;
};

// Takes queued work to the window on the interface thread (PostCommand).
class LWindowQueue : public LQueueReceiver {
public:
    enum class Code : unsigned int { kCommand = 1 };
    explicit LWindowQueue(LWindow* window) : _window(window) {}
    void PostCommand(int id);

private:
    void _DeliverQueued(unsigned int code, const void* data, unsigned long size) override;
    LWindow* _window;
};

struct LWindow::Impl {
    explicit Impl(LWindow* owner) : owner(owner) {}

    LWindow* owner;
    // False once the window is destroyed; modal loops hold a copy to know whether the window
    // still exists when they return.
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    QPointer<QWidget> widget;
    bool ownsWidget = false;     // top-level and dialog widgets are deleted with the window
    bool isDialog = false;
    bool destroyed = false;      // DestroyDialog has run
    bool dying = false;          // the window's destructor runs: widgets call nothing back
    int result = 0;              // what Close was given
    std::unique_ptr<LWindowQueue> queue;  // exists once the window has its widget
    std::map<int, LControlEntry> controls;
    // Menu items and menus by command id, on the menu bar or elsewhere.
    std::map<int, QPointer<QAction>> menuActions;
    std::map<int, QPointer<QMenu>> menus;
    // Called when the window's widget is resized (embedded panels lay out their controls).
    std::function<void(int width, int height)> onResize;

    LControlEntry* Find(int id);
    const LControlEntry* Find(int id) const;
    // Cuts every widget's way back to the window (it is going).
    void DetachWidgets();
    // Unbinds the controls' handlers and drops the widgets: the window goes or opens anew.
    void Reset();
    // Makes the window's own widget; `dialog` makes a modal dialog widget.
    void MakeWidget(QWidget* parent, bool dialog);
    LControlWidget* AddControlWidget(int id, LControlKind kind, int x, int y, int width,
                                     int height);
    // A menu item the window knows by `id`; using it calls Command(id).
    QAction* MakeMenuAction(int id, const QString& text, QObject* parent);
    void RegisterMenuAction(int id, QAction* action);
    void RegisterMenu(int id, QMenu* menu);
    QAction* FindAction(int id) const;
};
