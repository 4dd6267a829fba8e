#include "ui/LPaintControl.h"

#include "ui/LGuiApplication.h"
#include "ui/LWindow.h"
#include "ui/LWindowImpl.h"

#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstring>

LPaintControl::LPaintControl() : _interfaceThread(std::this_thread::get_id()) {}

LPaintControl::~LPaintControl()
{
    _Unbind();
}

void LPaintControl::_Unbind()
{
    if (_window) {
        LControlEntry* entry = _window->_GetImpl().Find(_id);
        if (entry && entry->paint == this) {
            entry->paint = nullptr;
        }
    }
}

void LPaintControl::Init(LWindow* window, int id)
{
    LControlEntry* entry = window ? window->_GetImpl().Find(id) : nullptr;
    if (!entry || !entry->widget) {
        return;
    }
    _Unbind();
    _window = window;
    _id = id;
    entry->paint = this;
    InitMouseCapture(window, id);
    entry->widget->setAttribute(Qt::WA_OpaquePaintEvent, _opaque);
    _SetSize(entry->widget->width(), entry->widget->height());
}

void LPaintControl::SetOpaquePaint(bool opaque)
{
    _opaque = opaque;
    if (QWidget* widget = _window ? _window->GetControlHandle(_id) : nullptr) {
        widget->setAttribute(Qt::WA_OpaquePaintEvent, opaque);
    }
}

void LPaintControl::_WindowGone()
{
    LMouseCapture::_WindowGone();
    _window = nullptr;
    if (_frameTimer) {
        _frameTimer->stop();
    }
    if (_trailingTimer) {
        _trailingTimer->stop();
    }
}

long LPaintControl::SendParentInterWinMessage(int message, long data1, long data2)
{
    return _window ? _window->SendInterWinMessage(message, data1, data2) : 0;
}

// ---- repaint requests

void LPaintControl::_PostIfFirst(bool wasEmpty)
{
    // Only the request that found the set empty posts; later ones merge into the set until
    // the interface thread takes it.
    if (wasEmpty) {
        _PostToQueue(static_cast<unsigned int>(QueueCode::kUpdate), nullptr, 0);
    }
}

void LPaintControl::Update()
{
    bool wasEmpty;
    {
        std::lock_guard<std::mutex> lock(_requestsMutex);
        wasEmpty = _requests.AddWhole();
    }
    _PostIfFirst(wasEmpty);
}

void LPaintControl::Update(int x, int y, int width, int height)
{
    bool wasEmpty;
    {
        std::lock_guard<std::mutex> lock(_requestsMutex);
        wasEmpty = _requests.AddArea({x, y, width, height});
    }
    _PostIfFirst(wasEmpty);
}

void LPaintControl::ThrottledUpdate()
{
    LUpdateThrottle::Action action;
    unsigned int due;
    {
        std::lock_guard<std::mutex> lock(_throttleMutex);
        action = _throttle.Request(LGuiApplication::NowMs());
        due = _throttle.DueAtMs();
    }
    if (action == LUpdateThrottle::Action::kNow) {
        Update();
    } else if (action == LUpdateThrottle::Action::kLater) {
        // Timers belong to the interface thread; another thread asks it to start one.
        if (std::this_thread::get_id() == _interfaceThread) {
            _StartTrailingUpdate(due);
        } else {
            _PostToQueue(static_cast<unsigned int>(QueueCode::kThrottleLater), &due, sizeof due);
        }
    }
}

void LPaintControl::_StartTrailingUpdate(unsigned int dueMs)
{
    if (!_trailingTimer) {
        _trailingTimer = std::make_unique<QTimer>();
        _trailingTimer->setSingleShot(true);
        QObject::connect(_trailingTimer.get(), &QTimer::timeout, [this] {
            {
                std::lock_guard<std::mutex> lock(_throttleMutex);
                _throttle.Delivered(LGuiApplication::NowMs());
            }
            Update();
        });
    }
    // Unsigned difference: a due time already passed (or wrapped) waits no more.
    const unsigned int left = dueMs - LGuiApplication::NowMs();
    _trailingTimer->start(left > LUpdateThrottle::kIntervalMs ? 0 : static_cast<int>(left));
}

void LPaintControl::_DeliverQueued(unsigned int code, const void* data, unsigned long size)
{
    if (code == static_cast<unsigned int>(QueueCode::kUpdate)) {
        _DeliverRequests();
    } else if (code == static_cast<unsigned int>(QueueCode::kThrottleLater) &&
               size == sizeof(unsigned int)) {
        unsigned int due;
        std::memcpy(&due, data, sizeof due);
        _StartTrailingUpdate(due);
    }
}

void LPaintControl::_DeliverRequests()
{
    // Repaints reach the widget at most once a frame; requests that come meanwhile merge into
    // the held set, which the frame timer delivers.
    switch (_frameThrottle.Request(LGuiApplication::NowMs())) {
    case LUpdateThrottle::Action::kNow:
        _FlushToWidget();
        break;
    case LUpdateThrottle::Action::kLater: {
        if (!_frameTimer) {
            _frameTimer = std::make_unique<QTimer>();
            _frameTimer->setSingleShot(true);
            QObject::connect(_frameTimer.get(), &QTimer::timeout, [this] {
                _frameThrottle.Delivered(LGuiApplication::NowMs());
                _FlushToWidget();
            });
        }
        const unsigned int left = _frameThrottle.DueAtMs() - LGuiApplication::NowMs();
        _frameTimer->start(left > LUpdateThrottle::kIntervalMs ? 0 : static_cast<int>(left));
        break;
    }
    case LUpdateThrottle::Action::kAlreadyHeld:
        break;
    }
}

void LPaintControl::_FlushToWidget()
{
    bool whole;
    std::vector<LUpdateRequests::Rect> areas;
    {
        std::lock_guard<std::mutex> lock(_requestsMutex);
        whole = _requests.IsWhole();
        areas = _requests.GetAreas();
        _requests.Clear();
    }
    QWidget* widget = _window ? _window->GetControlHandle(_id) : nullptr;
    if (!widget) {
        return;
    }
    if (whole) {
        widget->update();
        return;
    }
    for (const LUpdateRequests::Rect& r : areas) {
        widget->update(r.x, r.y, r.width, r.height);
    }
}

// ---- toolkit side

void LPaintControl::_SetSize(int width, int height)
{
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (width == GetWidth() && height == GetHeight()) {
        return;
    }
    _width.store(width, std::memory_order_relaxed);
    _height.store(height, std::memory_order_relaxed);
    EvSize();
}

void LPaintControl::_PaintNow(PaintData& data)
{
    Paint(data);
}
