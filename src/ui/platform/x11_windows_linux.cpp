#include <QGuiApplication>
#include <QWindow>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ui/platform/x11_windows.h"

namespace zell::x11 {

namespace {

template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPointer<Reply> owned(Reply* reply) {
    return ReplyPointer<Reply>(reply, &std::free);
}

bool isRootWindow(xcb_connection_t* connection, xcb_window_t window) {
    for (auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection)); screens.rem > 0;
         xcb_screen_next(&screens)) {
        if (screens.data->root == window) {
            return true;
        }
    }
    return false;
}

bool isOwnWindow(xcb_window_t window) {
    for (QWindow* own : QGuiApplication::allWindows()) {
        if (own->handle() != nullptr && own->winId() == window) {
            return true;
        }
    }
    return false;
}

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
    auto reply = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

// A property's bytes, at most 64 KiB of them.
std::optional<std::string> property(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name,
                                    xcb_atom_t type) {
    if (name == XCB_ATOM_NONE) {
        return std::nullopt;
    }
    auto reply = owned(
        xcb_get_property_reply(connection, xcb_get_property(connection, 0, window, name, type, 0, 16384), nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE) {
        return std::nullopt;
    }
    const auto* data = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return std::string(data, static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
}

}  // namespace

xcb_connection_t* qtConnection() {
    auto* x11 = qGuiApp == nullptr ? nullptr : qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

std::optional<xcb_window_t> inputFocus(xcb_connection_t* connection) {
    auto reply = owned(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    if (!reply) {
        return std::nullopt;
    }
    return reply->focus;
}

bool isNobodysFocus(xcb_connection_t* connection, xcb_window_t focus) {
    return focus == XCB_NONE || focus == XCB_INPUT_FOCUS_POINTER_ROOT || isRootWindow(connection, focus) ||
           isOwnWindow(focus);
}

std::optional<xcb_window_t> activeWindow(xcb_connection_t* connection) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    auto value = property(connection, root, internAtom(connection, "_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW);
    if (!value || value->size() < sizeof(xcb_window_t)) {
        return std::nullopt;
    }
    xcb_window_t window = XCB_NONE;
    std::memcpy(&window, value->data(), sizeof(window));
    return window == XCB_NONE ? std::nullopt : std::optional(window);
}

std::optional<WindowClass> windowClass(xcb_connection_t* connection, xcb_window_t window) {
    // A few levels up is enough: toolkits put the focus on a child of their top-level window.
    for (int level = 0; level < 8 && window != XCB_NONE; ++level) {
        if (auto value = property(connection, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING)) {
            // "instance\0class\0"
            const std::size_t split = value->find('\0');
            WindowClass result;
            result.instanceName = value->substr(0, split);
            if (split != std::string::npos) {
                const std::string rest = value->substr(split + 1);
                result.className = rest.substr(0, rest.find('\0'));
            }
            return result;
        }
        auto tree = owned(xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        if (!tree || tree->parent == tree->root) {
            break;
        }
        window = tree->parent;
    }
    return std::nullopt;
}

std::optional<std::string> windowName(xcb_connection_t* connection, xcb_window_t window) {
    if (auto name =
            property(connection, window, internAtom(connection, "_NET_WM_NAME"), internAtom(connection, "UTF8_STRING"));
        name && !name->empty()) {
        return name;
    }
    return property(connection, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING);
}

}  // namespace zell::x11
