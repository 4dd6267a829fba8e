#pragma once

#include "base/LEventQueue.h"
#include "ui/LMouseHandler.h"
#include "ui/LPaintSurface.h"
#include "ui/LUpdateRequests.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

class QTimer;

class LWindow;

// A self-drawn control, bound by Init to the control of an id in a window. Before Paint the
// toolkit sets the alpha (1.0, or 0.5 where the control or its window is disabled and the
// control asks for it), turns anti-aliasing off, clips to the rounded rectangle if one is set
// (inset by one pixel) and shifts coordinates by half a pixel.
class LPaintControl : public LPaintSurface, public LMouseCapture, private LQueueReceiver {
public:
    LPaintControl();
    ~LPaintControl() override;

    // Binds to the control `id` of `window` (painting and mouse). Interface thread.
    void Init(LWindow* window, int id);
    LWindow* GetWindow() const { return _window; }
    int GetId() const { return _id; }

    virtual void Paint(PaintData& /*data*/) {}
    virtual void EvSize() {}
    virtual void EvShow(bool /*shown*/) {}

    // Asks for a repaint, of the whole control or of an area. From any thread: requests are
    // merged (see LUpdateRequests) and at most one event waits on the interface thread's queue.
    // The widget is asked to repaint at most once per 16 ms; requests meanwhile wait merged.
    void Update();
    void Update(int x, int y, int width, int height);
    // Update() at most once per 16 ms; a request dropped inside the window is delivered at
    // its end. From any thread.
    void ThrottledUpdate();

    // The control's size, readable from any thread.
    int GetWidth() const { return _width.load(std::memory_order_relaxed); }
    int GetHeight() const { return _height.load(std::memory_order_relaxed); }

    // Whether a disabled control paints at half alpha.
    void SetDimWhenDisabled(bool dim) { _dimWhenDisabled = dim; }
    bool GetDimWhenDisabled() const { return _dimWhenDisabled; }

    // Whether Paint covers every pixel of the control, so nothing behind it is drawn first.
    void SetOpaquePaint(bool opaque);

    // Does nothing before Init; answers the handler's result, or 0.
    long SendParentInterWinMessage(int message, long data1, long data2);

    // Toolkit side, interface thread: the widget's size changed / it paints now.
    void _SetSize(int width, int height);
    void _PaintNow(PaintData& data);
    void _WindowGone() override;

private:
    enum class QueueCode : unsigned int { kUpdate = 1, kThrottleLater = 2 };

    void _DeliverQueued(unsigned int code, const void* data, unsigned long size) override;
    void _PostIfFirst(bool wasEmpty);
    // Lets go of the control this object was bound to.
    void _Unbind();
    // Interface thread: hands the merged requests to the widget, at most once a frame.
    void _DeliverRequests();
    void _FlushToWidget();
    void _StartTrailingUpdate(unsigned int dueMs);

    LWindow* _window = nullptr;
    int _id = 0;
    std::atomic<int> _width{0};
    std::atomic<int> _height{0};
    bool _dimWhenDisabled = false;
    std::mutex _requestsMutex;
    LUpdateRequests _requests;  // under _requestsMutex
    std::mutex _throttleMutex;
    LUpdateThrottle _throttle;  // under _throttleMutex
    bool _opaque = false;
    std::thread::id _interfaceThread;
    // Interface thread only.
    LUpdateThrottle _frameThrottle;
    std::unique_ptr<QTimer> _frameTimer;
    std::unique_ptr<QTimer> _trailingTimer;
};

// Paints from buffers prepared before paint time: Paint calls Prepaint.
class LPaintControlPrePaint : public LPaintControl {
public:
    void Paint(PaintData& data) override { Prepaint(data); }
    virtual void Prepaint(PaintData& data) = 0;
};
