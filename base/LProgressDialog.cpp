#include "base/LProgressDialog.h"
#include "base/LConsoleProgressView.h"

#include <atomic>

namespace {

std::unique_ptr<LProgressView> _MakeConsoleView(OpaqueWindowPtr*)
{
    return std::make_unique<LConsoleProgressView>();
}

std::atomic<LProgressViewFactory> gViewFactory{nullptr};

}  // namespace

void LSetProgressViewFactory(LProgressViewFactory factory)
{
    gViewFactory.store(factory, std::memory_order_release);
}

LProgressDialog::LProgressDialog(const char* title) : _title(title ? title : "") {}

LProgressDialog::~LProgressDialog() = default;

bool LProgressDialog::Open(OpaqueWindowPtr* parent)
{
    LProgressViewFactory factory = gViewFactory.load(std::memory_order_acquire);
    return OpenWithView(factory ? factory(parent) : _MakeConsoleView(parent));
}

bool LProgressDialog::OpenWithView(std::unique_ptr<LProgressView> view)
{
    _view = std::move(view);
    if (!_view || !_view->Open(*this, _title.c_str())) {
        _view.reset();
        return false;
    }
    _RunModally();
    return true;
}

void LProgressDialog::_RunModally()
{
    _closed = false;
    MainFunction();
    _view->Close();
    _view.reset();
}

bool LProgressDialog::IsToStop()
{
    ClearEventQueue();
    return _closed;
}

bool LProgressDialog::ProcessWait(unsigned int ms)
{
    return ProcessWaitAndProcessEvents(ms) == kProcessStopped;
}

LProcessResult LProgressDialog::ProcessWaitSignal(LSignalObjectRef s, unsigned int ms)
{
    return ProcessWaitSignalAndProcessEvents(s, ms);
}

LProcessResult LProgressDialog::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                             unsigned int ms)
{
    if (!group.Select(ms))
        return kProcessFailed;
    return _closed ? kProcessStopped : kProcessFinished;
}

void LProgressDialog::SetError(const char* message)
{
    if (_view && message)
        _view->ShowError(_title.c_str(), message);
    ClearEventQueue();
}

void LProgressDialog::SetStatus(const char* text, int line)
{
    if (_view)
        _view->SetStatusText(line < 1 ? 0 : 1, text ? text : "");
    ClearEventQueue();
}

void LProgressDialog::SetProgress(double fraction)
{
    std::optional<double> f = LProgressFraction(fraction);
    if (_view && f)
        _view->SetProgressPercent(static_cast<int>(*f * 100.0));
    ClearEventQueue();
}

void LProgressDialog::SetProgressIndeterminateOn()
{
    if (_view)
        _view->SetIndeterminate(true);
    ClearEventQueue();
}

void LProgressDialog::SetProgressIndeterminateOff()
{
    if (_view)
        _view->SetIndeterminate(false);
    ClearEventQueue();
}

void LProgressDialog::Close(int)
{
    if (_view)
        _view->SetCancelEnabled(false);
    ClearEventQueue();
    _closed = true;
}
