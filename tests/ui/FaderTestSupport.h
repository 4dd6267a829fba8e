#pragma once

#include "base/LEventQueue.h"
#include "support/QtTestApp.h"
#include "ui/LPaintControl.h"
#include "ui/LWindow.h"

#include <QImage>
#include <QPainter>

#include <ostream>
#include <vector>

inline void PrintTo(const LGuiColorRef& colour, std::ostream* out)
{
    *out << "rgb(" << colour.Red8() << ", " << colour.Green8() << ", " << colour.Blue8() << ")";
}

namespace fadertest {

// The Qt application every control needs: the ui tests' shared one.
inline void EnsureApplication()
{
    QtTestApp();
}

struct Message {
    int message;
    long data1;
    long data2;
    friend bool operator==(const Message&, const Message&) = default;
};

// A parent window that keeps every inter-window message its controls send.
class RecordingWindow : public LWindow {
public:
    long EvInterWinMessage(int message, long data1, long data2) override
    {
        messages.push_back({message, data1, data2});
        return 0;
    }
    std::vector<Message> messages;
};

// Delivers the repaint requests waiting on this thread's queue; answers how many waited.
inline size_t DrainRepaints()
{
    auto queue = LEventQueue::ForCurrentThread();
    const size_t waiting = queue->GetPendingCount();
    queue->DispatchPending(waiting + 16);
    return waiting;
}

inline size_t PendingRepaints()
{
    return LEventQueue::ForCurrentThread()->GetPendingCount();
}

// Paints `control` at its size into an image first filled with `sentinel`, prepared as the
// toolkit prepares a paint: anti-aliasing off, coordinates shifted by half a pixel.
inline QImage PaintToImage(LPaintControl& control, QColor sentinel = QColor(255, 0, 255))
{
    QImage image(control.GetWidth(), control.GetHeight(), QImage::Format_RGB32);
    PaintData data;
    if (image.isNull()) {  // nothing to paint on: the control must cope with no context
        control._PaintNow(data);
        return image;
    }
    image.fill(sentinel);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.translate(0.5, 0.5);
    data.context = &painter;
    data.width = static_cast<float>(control.GetWidth());
    data.height = static_cast<float>(control.GetHeight());
    control._PaintNow(data);
    painter.end();
    return image;
}

inline LGuiColorRef PixelAt(const QImage& image, int x, int y)
{
    const QRgb pixel = image.pixel(x, y);
    return LGuiColorRef::FromRGB(qRed(pixel), qGreen(pixel), qBlue(pixel));
}

}  // namespace fadertest
