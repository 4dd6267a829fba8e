#include "support/QtTestApp.h"

#include "ui/LGuiApplication.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace {

int gArgc = 1;
char gProgramName[] = "ui_tests";
char* gArgv[] = {gProgramName, nullptr};
std::unique_ptr<LGuiApplication> gApp;

class QtTestEnvironment : public ::testing::Environment {
public:
    void SetUp() override { QtTestApp(); }
    void TearDown() override { gApp.reset(); }
};

[[maybe_unused]] const auto* gEnvironment =
    ::testing::AddGlobalTestEnvironment(new QtTestEnvironment);

}  // namespace

LGuiApplication& QtTestApp()
{
    if (!gApp) {
        // Headless unless the runner chose a platform (the Xvfb tests choose xcb). Set here
        // because ctest passes the discovered tests only the first entry of their environment.
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        gApp = std::make_unique<LGuiApplication>(gArgc, gArgv);
    }
    return *gApp;
}

bool QtTestWaitForImpl(bool (*done)(void*), void* context, int ms)
{
    QtTestApp();
    QDeadlineTimer deadline(ms);
    while (!done(context)) {
        if (deadline.hasExpired()) {
            return false;
        }
        // A short turn of the loop that sleeps while nothing happens.
        constexpr int kSliceMs = 2;
        QEventLoop loop;
        QTimer::singleShot(kSliceMs, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}
