#pragma once

// Shared pieces of the real-window tests: they run on an X server of their own (see
// XvfbTestRun.sh), drive the real pointer with xdotool and photograph windows with import.
#include "ui/LGuiTypes.h"

#include <QImage>
#include <QPoint>

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

class QWidget;

namespace XvfbTest {

// How long a wait for the window system may take before the test fails; a wait ends as soon
// as its condition holds.
constexpr unsigned int kWaitMs = 20000;

// Runs the event loop until `done` answers true or `ms` is over; answers `done()`.
bool WaitFor(const std::function<bool()>& done, unsigned int ms = kWaitMs);

// Until the widget's window is shown and exposed on the X server.
bool WaitExposed(QWidget* widget);

// Runs a program from PATH and waits; answers its exit status (negative when it could not
// run). Its standard output goes into `output` when given.
int RunProgram(const std::vector<std::string>& argv, std::string* output = nullptr);

// xdotool with these arguments; true when it succeeded.
bool Xdotool(const std::vector<std::string>& arguments);
// Moves the real pointer to a point of the screen and waits until it is there.
bool MovePointer(QPoint screen);
// Where the X server has the pointer, as xdotool reads it.
QPoint PointerLocation();

// Starts a program with changes to this environment: "NAME=value" sets, "NAME" removes.
// Answers its process id.
pid_t Spawn(const std::vector<std::string>& argv, const std::vector<std::string>& environment);
// Ends a spawned program (SIGTERM) and answers its exit status.
int Stop(pid_t pid);
// Waits for a spawned program to exit on its own; its exit status, or -1 if it did not.
int WaitExit(pid_t pid, unsigned int ms = kWaitMs);

// A pixel (within the image) as a theme colour.
LGuiColorRef PixelAt(const QImage& image, QPoint point);
std::string Describe(LGuiColorRef colour);

}  // namespace XvfbTest
