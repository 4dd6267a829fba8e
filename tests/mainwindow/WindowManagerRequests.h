#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

inline xcb_atom_t XcbAtom(xcb_connection_t* connection, const char* name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return atom;
}

// What a window manager sends when the user clicks the close button.
inline bool SendDeleteWindow(unsigned long window)
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return false;
    }
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(window);
    event.type = XcbAtom(connection, "WM_PROTOCOLS");
    event.data.data32[0] = XcbAtom(connection, "WM_DELETE_WINDOW");
    event.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection, 0, event.window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    const bool sent = xcb_flush(connection) > 0;
    xcb_disconnect(connection);
    return sent;
}
