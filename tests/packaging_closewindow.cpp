// Closes the main window of a process the way a window manager's close button does, so the
// program ends its event loop normally (and runs what it does at exit), which a signal would
// not. Usage: packaging_closewindow PID [TIMEOUT_MS]; waits for the window to be shown.
// Exit status 0 once the request is sent, 1 when no window of PID showed up in time.
#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

unsigned long WindowPid(Display* display, Window window, Atom pidAtom)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    unsigned long pid = 0;
    if (XGetWindowProperty(display, window, pidAtom, 0, 1, False, XA_CARDINAL, &type, &format,
                           &count, &rest, &data) == Success &&
        data) {
        if (type == XA_CARDINAL && format == 32 && count == 1)
            pid = *reinterpret_cast<unsigned long*>(data);
        XFree(data);
    }
    return pid;
}

// Without a window manager a program's top-level windows are children of the root window.
Window FindShownWindow(Display* display, unsigned long pid, Atom pidAtom)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    Window found = 0;
    if (!XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count))
        return 0;
    for (unsigned int i = 0; i < count && !found; ++i) {
        XWindowAttributes attributes;
        if (WindowPid(display, children[i], pidAtom) == pid &&
            XGetWindowAttributes(display, children[i], &attributes) &&
            attributes.map_state == IsViewable)
            found = children[i];
    }
    if (children)
        XFree(children);
    return found;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s PID [TIMEOUT_MS]\n", argv[0]);
        return 2;
    }
    const unsigned long pid = std::strtoul(argv[1], nullptr, 10);
    const long timeoutMs = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 20000;

    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "cannot open display\n");
        return 2;
    }
    const Atom pidAtom = XInternAtom(display, "_NET_WM_PID", False);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    Window window = 0;
    while (!(window = FindShownWindow(display, pid, pidAtom)) &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    if (!window) {
        std::fprintf(stderr, "no shown window of process %lu\n", pid);
        XCloseDisplay(display);
        return 1;
    }

    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, window, False, NoEventMask, &event);
    XSync(display, False);
    XCloseDisplay(display);
    return 0;
}
