#include "ui/LProgressViewQt.h"

#include "base/LConsoleProgressView.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>

namespace {

constexpr int kStatusWidthPx = 460;

QString _Q(const char* text)
{
    return QString::fromUtf8(text ? text : "");
}

// Cancel however it is asked for: the button, Escape (reject) or the window's close button.
class _Window : public QDialog {
public:
    _Window(QWidget* parent, std::function<void()> cancel) : QDialog(parent), _cancel(std::move(cancel)) {}
    void reject() override { _cancel(); }

protected:
    void closeEvent(QCloseEvent* event) override
    {
        event->ignore();  // the window goes when the task has ended
        _cancel();
    }

private:
    std::function<void()> _cancel;
};

// Holds back input to every window but the progress window while that one is not shown yet.
// Closing another window meanwhile cancels the task and goes ahead, as it would with the
// progress window in front.
class _InputHold : public QObject {
public:
    _InputHold(const QWidget* window, std::function<void()> cancel) : _window(window), _cancel(std::move(cancel)) {}

protected:
    bool eventFilter(QObject* target, QEvent* event) override
    {
        const auto* widget = qobject_cast<const QWidget*>(target);
        const bool ours = widget && _window && widget->window() == _window;
        if (event->type() == QEvent::Close && widget && widget->isWindow() && !ours) {
            _cancel();
            return false;
        }
        return _IsInput(event->type()) && !ours;
    }

private:
    static bool _IsInput(QEvent::Type type)
    {
        switch (type) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::Wheel:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::ShortcutOverride:
        case QEvent::ContextMenu:
        case QEvent::DragEnter:
        case QEvent::DragMove:
        case QEvent::Drop:
            return true;
        default:
            return false;
        }
    }

    QPointer<const QWidget> _window;
    std::function<void()> _cancel;
};

QWidget* _LiveWidget(OpaqueWindowPtr* parent)
{
    auto* widget = reinterpret_cast<QWidget*>(parent);
    return widget && QApplication::allWidgets().contains(widget) ? widget : nullptr;
}

class LProgressViewQt : public LProgressView {
public:
    explicit LProgressViewQt(QWidget* parent) : _parent(parent) {}
    ~LProgressViewQt() override { Close(); }

    bool Open(LProgressDialog& dialog, const char* title) override
    {
        _window = new _Window(_parent, [&dialog] { dialog.Close(0); });
        _window->setObjectName(kProgressWindowName);
        _window->setWindowTitle(_Q(title));
        _window->setWindowModality(Qt::ApplicationModal);
        _BuildControls(dialog);
        _hold = std::make_unique<_InputHold>(_window, [&dialog] { dialog.Close(0); });
        qApp->installEventFilter(_hold.get());
        _showTimer.setSingleShot(true);
        QObject::connect(&_showTimer, &QTimer::timeout, _window, [this] { _Show(); });
        _showTimer.start(kProgressShowDelayMs);
        return true;
    }

    void Close() override
    {
        _showTimer.stop();
        _ReleaseInput();
        if (_window) {
            _window->hide();
            delete _window.data();
        }
    }

    void SetStatusText(int line, const char* text) override
    {
        QLabel* label = _status[line < 1 ? 0 : 1];
        if (!label)
            return;
        const QString full = _Q(text);
        label->setText(label->fontMetrics().elidedText(full, Qt::ElideMiddle, kStatusWidthPx));
        label->setToolTip(full);
        label->setEnabled(true);
    }

    void SetProgressPercent(int percent) override
    {
        if (!_bar)
            return;
        _bar->setRange(0, 100);
        _bar->setValue(std::clamp(percent, 0, 100));
    }

    void SetIndeterminate(bool on) override
    {
        if (_bar)
            _bar->setRange(0, on ? 0 : 100);
    }

    void SetCancelEnabled(bool enabled) override
    {
        if (_cancel)
            _cancel->setEnabled(enabled);
    }

    void ShowError(const char* title, const char* message) override
    {
        _Show();
        QMessageBox box(QMessageBox::Warning, _Q(title), _Q(message), QMessageBox::Ok,
                        _window ? static_cast<QWidget*>(_window) : _parent.data());
        box.exec();
    }

private:
    void _BuildControls(LProgressDialog& dialog)
    {
        auto* layout = new QVBoxLayout(_window);
        for (int line = 0; line < 2; ++line) {
            _status[line] = new QLabel(_window);
            _status[line]->setObjectName(kProgressStatusName[line]);
            _status[line]->setFixedWidth(kStatusWidthPx);
            _status[line]->setTextFormat(Qt::PlainText);
            layout->addWidget(_status[line]);
        }
        _bar = new QProgressBar(_window);
        _bar->setObjectName(kProgressBarName);
        _bar->setRange(0, 100);
        layout->addWidget(_bar);
        _cancel = new QPushButton(QStringLiteral("Cancel"), _window);
        _cancel->setObjectName(kProgressCancelName);
        _cancel->setAutoDefault(false);
        QObject::connect(_cancel, &QPushButton::clicked, _window, [&dialog] { dialog.Close(0); });
        layout->addWidget(_cancel, 0, Qt::AlignRight);
    }

    void _Show()
    {
        _showTimer.stop();
        _ReleaseInput();
        if (_window && !_window->isVisible()) {
            _window->show();
            _window->raise();
            _window->activateWindow();
        }
    }

    void _ReleaseInput()
    {
        if (_hold) {
            qApp->removeEventFilter(_hold.get());
            _hold.reset();
        }
    }

    QPointer<QWidget> _parent;
    QPointer<_Window> _window;  // its parent may take it down first
    QPointer<QLabel> _status[2];
    QPointer<QProgressBar> _bar;
    QPointer<QPushButton> _cancel;
    std::unique_ptr<_InputHold> _hold;
    QTimer _showTimer;
};

}  // namespace

std::unique_ptr<LProgressView> LMakeProgressViewQt(OpaqueWindowPtr* parent)
{
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return std::make_unique<LConsoleProgressView>();
    return std::make_unique<LProgressViewQt>(_LiveWidget(parent));
}

OpaqueWindowPtr* LOpaqueWindowOf(QWidget* widget)
{
    return reinterpret_cast<OpaqueWindowPtr*>(widget);
}
