#pragma once

// The one Qt application of the ui tests: an LGuiApplication (so the interface thread's event
// queue drains from Qt's loop, modal loops included) made before the first test and removed
// after the last. Tests of ui/ may call QtTestApp() to be sure it exists.
class LGuiApplication;

LGuiApplication& QtTestApp();

// Turns Qt's loop (and so the program's queue) until `done` answers true or `ms` passes.
// Answers whether `done` did. For tests that wait on events, never on the clock: `ms` only
// bounds a failing wait, and a loaded machine can take seconds to paint.
template <typename Done>
bool QtTestWaitFor(Done done, int ms = 30000);

bool QtTestWaitForImpl(bool (*done)(void*), void* context, int ms);

template <typename Done>
bool QtTestWaitFor(Done done, int ms)
{
    return QtTestWaitForImpl([](void* c) { return (*static_cast<Done*>(c))(); }, &done, ms);
}
