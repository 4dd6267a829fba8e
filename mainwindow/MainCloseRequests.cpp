#include "mainwindow/MainCloseRequests.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QGuiApplication>
#include <QPointer>
#include <QWidget>

#ifdef ORVANE_HAVE_XCB
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#endif

class MainCloseRequests::_Filter : public QAbstractNativeEventFilter {
public:
    _Filter(QWidget& window, std::function<void()> onClose) : _window(&window), _onClose(std::move(onClose))
    {
#ifdef ORVANE_HAVE_XCB
        auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        if (QGuiApplication::platformName() == QLatin1String("xcb") && x11 && x11->connection()) {
            _connection = x11->connection();
            _protocols = _Atom("WM_PROTOCOLS");
            _deleteWindow = _Atom("WM_DELETE_WINDOW");
        }
#endif
    }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* /*result*/) override
    {
#ifdef ORVANE_HAVE_XCB
        if (!_connection || type != "xcb_generic_event_t" || !_window) {
            return false;
        }
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) {
            return false;
        }
        const auto* client = static_cast<const xcb_client_message_event_t*>(message);
        if (client->type != _protocols || client->data.data32[0] != _deleteWindow ||
            client->window != static_cast<xcb_window_t>(_window->winId())) {
            return false;
        }
        // Without a modal window in front, Qt's own close event does the same.
        if (!QApplication::activeModalWidget()) {
            return false;
        }
        _onClose();
        return true;
#else
        (void)type;
        (void)message;
        return false;
#endif
    }

private:
#ifdef ORVANE_HAVE_XCB
    uint32_t _Atom(const char* name) const
    {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            _connection, xcb_intern_atom(_connection, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
        const uint32_t atom = reply ? reply->atom : 0;
        std::free(reply);
        return atom;
    }

    xcb_connection_t* _connection = nullptr;
    uint32_t _protocols = 0;
    uint32_t _deleteWindow = 0;
#endif
    QPointer<QWidget> _window;
    std::function<void()> _onClose;
};

MainCloseRequests::MainCloseRequests(QWidget& window, std::function<void()> onClose)
    : _filter(std::make_unique<_Filter>(window, std::move(onClose)))
{
    QCoreApplication::instance()->installNativeEventFilter(_filter.get());
}

MainCloseRequests::~MainCloseRequests()
{
    if (QCoreApplication::instance()) {
        QCoreApplication::instance()->removeNativeEventFilter(_filter.get());
    }
}
