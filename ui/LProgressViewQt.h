#pragma once

#include "base/LProgressDialog.h"

#include <memory>

class QWidget;

// The program's progress window for long tasks: a small application-modal window over its
// parent with the task's title, two status lines (long paths elided in the middle), a bar with
// an indeterminate mode and Cancel. The task runs on the interface thread and pumps events, so
// the window paints and Cancel, Escape or the window's close button reach
// LProgressDialog::Close. Errors show as modal boxes over it.
//
// The window appears only once a task has run for kProgressShowDelayMs, so a quick add does
// not flash a window; until then input to the program's other windows is held back all the
// same, as the modal window would.
constexpr int kProgressShowDelayMs = 300;
// The window's object name, and its children's: how tests find them.
constexpr const char* kProgressWindowName = "LProgressWindow";
constexpr const char* kProgressStatusName[2] = {"LProgressStatus1", "LProgressStatus2"};
constexpr const char* kProgressBarName = "LProgressBar";
constexpr const char* kProgressCancelName = "LProgressCancel";

// The factory for LSetProgressViewFactory. `parent` is a window given by LOpaqueWindowOf, or
// null; a parent that is no live widget is taken as none. Without a Qt application it makes
// the console view.
std::unique_ptr<LProgressView> LMakeProgressViewQt(OpaqueWindowPtr* parent);

// A window as the opaque parent that long tasks pass along to their dialogs.
OpaqueWindowPtr* LOpaqueWindowOf(QWidget* widget);
