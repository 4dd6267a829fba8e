#pragma once

#include "base/LProcessEventsHandler.h"
#include "base/LProcessInterface.h"

#include <memory>
#include <string>

struct OpaqueWindowPtr;  // a toolkit's parent window, opaque here
class LProgressDialog;

// What a progress window shows. The dialog logic drives it on the interface thread; a
// window toolkit or the console implements it. Cancel, however it is given, ends in
// LProgressDialog::Close on the interface thread.
class LProgressView {
public:
    virtual ~LProgressView() = default;
    // Shows the window modally with the title and an enabled Cancel. False if it can't.
    virtual bool Open(LProgressDialog& dialog, const char* title) = 0;
    // Hides and disposes of the window.
    virtual void Close() = 0;
    virtual void SetStatusText(int line, const char* text) = 0;  // line 0 or 1
    virtual void SetProgressPercent(int percent) = 0;  // leaves indeterminate mode
    virtual void SetIndeterminate(bool on) = 0;
    virtual void SetCancelEnabled(bool enabled) = 0;
    // A modal error box over the window; returns when the user has seen it.
    virtual void ShowError(const char* title, const char* message) = 0;
};

// Makes the view for a dialog over `parent` (null when there is none).
using LProgressViewFactory = std::unique_ptr<LProgressView> (*)(OpaqueWindowPtr* parent);
// The factory for every dialog to come; null restores the console view on stderr.
void LSetProgressViewFactory(LProgressViewFactory factory);

// A modal progress dialog that runs its task on the interface thread. Every call the task
// makes pumps the event queue, so the interface stays alive and Cancel is noticed at the
// task's next IsToStop.
class LProgressDialog : public LProcessInterface, public LProcessEventsHandler {
public:
    explicit LProgressDialog(const char* title);
    ~LProgressDialog() override;

    // Shows the view, runs MainFunction, closes the view. False if the view could not be
    // made, and then the result stays 2.
    bool Open(OpaqueWindowPtr* parent);
    // The same with a view of the caller's choosing (null: not opened).
    bool OpenWithView(std::unique_ptr<LProgressView> view);
    LProcessResult GetResult() const { return _result; }
    const std::string& GetTitle() const { return _title; }

    bool IsToStop() override;
    bool ProcessWait(unsigned int ms) override;
    LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) override;
    // A plain select without pumping.
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int ms) override;
    void SetError(const char* message) override;
    void SetStatus(const char* text, int line) override;
    void SetProgress(double fraction) override;
    void SetProgressIndeterminateOn() override;
    void SetProgressIndeterminateOff() override;

    // Cancel and the window's own close come here: a request the task sees at its next
    // IsToStop; the window goes when MainFunction returns.
    virtual void Close(int code);
    virtual bool MainFunction() = 0;
    bool IsProcessEventHandlerToStop() override { return _closed; }

protected:
    LProcessResult _result = kProcessFailed;

private:
    void _RunModally();

    std::string _title;
    bool _closed = false;
    std::unique_ptr<LProgressView> _view;
};

// Runs `Process(LProcessInterface&, T&)` found for the task's type inside a dialog.
template <class T>
class LProcessDialog : public LProgressDialog {
public:
    LProcessDialog(const char* title, T& task) : LProgressDialog(title), _task(task) {}

    bool MainFunction() override
    {
        _result = Process(*this, _task);
        return true;
    }

private:
    T& _task;
};

// Runs `task` under a modal progress dialog; 2 if the dialog could not be opened.
template <class T>
LProcessResult ProcessRunAsDialog(OpaqueWindowPtr* parent, const char* title, T& task)
{
    LProcessDialog<T> dialog(title, task);
    dialog.Open(parent);
    return dialog.GetResult();
}
