#include "support/QtTestApp.h"
#include "ui/LPaintControl.h"
#include "ui/LWindow.h"

#include <QPainter>
#include <QWidget>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

class CountingControl : public LPaintControl {
public:
    std::atomic<int> paints{0};
    std::vector<QRect> areas;
    float alpha = -1;
    bool antialiased = true;
    bool clipped = false;
    QPointF origin;
    void Paint(PaintData& data) override
    {
        ++paints;
        areas.push_back(QRect(int(data.x), int(data.y), int(data.width), int(data.height)));
        alpha = float(data.context->opacity());
        antialiased = data.context->testRenderHint(QPainter::Antialiasing);
        clipped = data.context->hasClipping();
        origin = data.context->transform().map(QPointF(0, 0));
    }
};

struct Fixture {
    LWindow window;
    CountingControl control;
    Fixture()
    {
        window.CreateTopLevel("paint", 200, 100);
        window.AddPaintControl(1, 10, 10, 100, 50, {});
        control.Init(&window, 1);
        window.Show();
        QtTestWaitFor([&] { return control.paints > 0; });
        control.paints = 0;
        control.areas.clear();
    }
};

}  // namespace

// Many requests before the interface thread turns make one queued event and one paint.
TEST(PaintControl, RequestsMergeIntoOneEventAndOnePaint)
{
    QtTestApp();
    Fixture f;
    auto& queue = *LEventQueue::ForCurrentThread();
    const size_t before = queue.GetPendingCount();
    for (int i = 0; i < 100; ++i) {
        f.control.Update(i % 10, 0, 2, 2);
    }
    EXPECT_EQ(queue.GetPendingCount(), before + 1);
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
    ASSERT_FALSE(f.control.areas.empty());
    EXPECT_TRUE(f.control.areas.front().contains(QRect(0, 0, 11, 2)));
}

// Before Paint: full alpha, no anti-aliasing, the half-pixel shift; half alpha when disabled
// for a control that asks; the rounded clip.
TEST(PaintControl, PrePaintRules)
{
    QtTestApp();
    Fixture f;
    f.control.Update();
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
    EXPECT_FLOAT_EQ(f.control.alpha, 1.0f);
    EXPECT_FALSE(f.control.antialiased);
    EXPECT_FALSE(f.control.clipped);
    EXPECT_EQ(f.control.origin, QPointF(0.5, 0.5));

    f.control.SetDimWhenDisabled(true);
    f.window.EnableControl(1, false);
    f.window.SetControlRoundedCorners(1, 6);
    f.control.paints = 0;
    f.control.Update();
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
    EXPECT_FLOAT_EQ(f.control.alpha, 0.5f);
    EXPECT_TRUE(f.control.clipped);

    // A disabled window dims its controls too; a control that does not ask stays opaque.
    f.window.EnableControl(1, true);
    f.window.GetWidget()->setEnabled(false);
    f.control.paints = 0;
    f.control.Update();
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
    EXPECT_FLOAT_EQ(f.control.alpha, 0.5f);
    f.control.SetDimWhenDisabled(false);
    f.control.paints = 0;
    f.control.Update();
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
    EXPECT_FLOAT_EQ(f.control.alpha, 1.0f);
}

// Worker threads hammer Update while the window repaints: the queue never holds more than one
// event of the control, and the last request still reaches the screen.
TEST(PaintControl, UpdateFromFourThreadsKeepsOneEventQueued)
{
    QtTestApp();
    Fixture f;
    auto& queue = *LEventQueue::ForCurrentThread();
    constexpr int kThreads = 4, kCalls = 20000;
    std::atomic<int> running{kThreads};
    std::atomic<size_t> mostQueued{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < kThreads; ++t) {
        workers.emplace_back([&, t] {
            for (int i = 0; i < kCalls; ++i) {
                if (i % 2) {
                    f.control.Update();
                } else {
                    f.control.Update((i + t) % 90, t * 10, 4, 4);
                }
                size_t queued = queue.GetPendingCount();
                size_t seen = mostQueued.load();
                while (queued > seen && !mostQueued.compare_exchange_weak(seen, queued)) {
                }
            }
            --running;
        });
    }
    const bool finished = QtTestWaitFor([&] { return running == 0; }, 60000);
    for (std::thread& worker : workers) {
        worker.join();
    }
    ASSERT_TRUE(finished);
    EXPECT_LE(mostQueued.load(), 1u);
    // What was requested last is painted, with no further request.
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
}

// Requests inside the 16 ms window are held and delivered at its end: a burst gives the
// immediate paint and one trailing paint, never losing the last.
TEST(PaintControl, ThrottledUpdateDeliversTheHeldRequest)
{
    QtTestApp();
    Fixture f;
    for (int i = 0; i < 50; ++i) {
        f.control.ThrottledUpdate();
    }
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 2; }));

    // From another thread the trailing request is passed to the interface thread first. The
    // burst may fall inside the window of the last delivery, so it may make only the trailing
    // paint; that one must come.
    f.control.paints = 0;
    std::thread worker([&] {
        for (int i = 0; i < 50; ++i) {
            f.control.ThrottledUpdate();
        }
    });
    worker.join();
    ASSERT_TRUE(QtTestWaitFor([&] { return f.control.paints >= 1; }));
}

// A control outliving its window (or the other way round) neither paints nor crashes.
TEST(PaintControl, ControlAndWindowMayDieInEitherOrder)
{
    QtTestApp();
    CountingControl survivor;
    {
        LWindow window;
        window.CreateTopLevel("short", 50, 50);
        window.AddPaintControl(1, 0, 0, 10, 10, {});
        survivor.Init(&window, 1);
        survivor.Update();
    }
    EXPECT_EQ(survivor.GetWindow(), nullptr);
    survivor.Update();
    survivor.SetCursor(LCursorShape::kPointingHand);
    survivor.MovePointer(1, 1);
    QtTestWaitFor([] { return false; }, 30);
    EXPECT_EQ(survivor.paints, 0);

    LWindow window;
    window.CreateTopLevel("long", 50, 50);
    window.AddPaintControl(1, 0, 0, 10, 10, {});
    {
        CountingControl shortLived;
        shortLived.Init(&window, 1);
        shortLived.Update();
    }
    EXPECT_EQ(window.GetPaintControl(1), nullptr);
    window.RedrawWindow();
    QtTestWaitFor([] { return false; }, 30);
}
