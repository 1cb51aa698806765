"""The clipboard of a display."""

import ctypes

from support.waiting import within

CURRENT_TIME = 0
SELECTION_NOTIFY = 31
ANY_TYPE = 0
NO_PROPERTY = 0
LONGEST_ANSWER_SECONDS = 2
LONGEST_IN_WORDS = 1 << 16


class SelectionEvent(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("sent", ctypes.c_int),
                ("display", ctypes.c_void_p), ("requestor", ctypes.c_ulong), ("selection", ctypes.c_ulong),
                ("target", ctypes.c_ulong), ("property", ctypes.c_ulong), ("time", ctypes.c_ulong),
                ("rest_of_any_event", ctypes.c_long * 24)]


def read(display_name):
    """The text on the clipboard, or None where there is none yet."""
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XDefaultRootWindow.restype = x11.XCreateSimpleWindow.restype = x11.XInternAtom.restype = ctypes.c_ulong
    display = ctypes.c_void_p(x11.XOpenDisplay(display_name.encode()))
    try:
        root = ctypes.c_ulong(x11.XDefaultRootWindow(display))
        window = ctypes.c_ulong(x11.XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, *[ctypes.c_ulong(0)] * 2))
        clipboard, utf8, answer = (ctypes.c_ulong(x11.XInternAtom(display, name, False))
                                   for name in [b"CLIPBOARD", b"UTF8_STRING", b"ANSWER"])
        x11.XConvertSelection(display, clipboard, utf8, answer, window, ctypes.c_ulong(CURRENT_TIME))
        x11.XFlush(display)
        event = SelectionEvent()
        answered = within(LONGEST_ANSWER_SECONDS,
                          lambda: x11.XCheckTypedEvent(display, SELECTION_NOTIFY, ctypes.byref(event)))
        if not answered or event.property == NO_PROPERTY:
            return None
        return read_property(x11, display, window, answer)
    finally:
        x11.XCloseDisplay(display)


def read_property(x11, display, window, name):
    kind, count, left = ctypes.c_ulong(), ctypes.c_ulong(), ctypes.c_ulong()
    bits, data = ctypes.c_int(), ctypes.c_char_p()
    x11.XGetWindowProperty(display, window, name, ctypes.c_long(0), ctypes.c_long(LONGEST_IN_WORDS), False,
                           ctypes.c_ulong(ANY_TYPE), *map(ctypes.byref, [kind, bits, count, left, data]))
    return ctypes.string_at(data, count.value).decode()
